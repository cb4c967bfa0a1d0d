#pragma once

#include <QStringList>
#include <QVector>

#include "Terminal.h"

/**
 * Rows of texts for standard output, with aligned columns, cut to the width of a terminal. Control characters
 * are shown as blanks. Without a terminal no cell is cut, but a very long one makes only its own line longer.
 */
class TextTable {
 public:
  /** A column and its least width; 0: it is never narrower than its cells. */
  struct Column {
    QString title;
    int least = 0;
  };

  /** If the table is too wide, columns shrink down to `least`, those with the smallest `least` first. */
  explicit TextTable(const QVector<Column>& columns);

  void addRow(const QStringList& cells, Terminal::Colour colour = Terminal::Colour::None);

  /** The lines added since the last call in UTF-8, without trailing blanks. A column is at least as wide as
   * in the last call, unless the table must shrink. */
  QByteArray takeUtf8();

 private:
  struct Row {
    QStringList cells;
    Terminal::Colour colour;
  };

  QVector<int> fittingWidths() const;

  QVector<Column> m_columns;
  Terminal m_terminal = Terminal::ofStandardOutput();
  QVector<int> m_widths;  ///< of the widest cell so far
  QVector<Row> m_rows;
};
