#pragma once

#include <QByteArray>
#include <QStringList>
#include <QVector>

#include "Terminal.h"

/**
 * Rows of texts as plain text with aligned columns, cut to the width of a terminal. Characters that would
 * move the cursor or steer a terminal are shown as blanks. It counts characters, not the columns that wide
 * ones take. [any-thread]
 */
class TextTable {
 public:
  /** A column and how narrow it may become, 0 for never narrower than its cells. */
  struct Column {
    QString title;
    int least = 0;
  };

  /** Where there is a lack of room the columns give way from left to right, each down to its least width. */
  TextTable(const QVector<Column>& columns, const Terminal& terminal);

  /** @param cells as many as there are columns */
  void addRow(const QStringList& cells, Terminal::Colour colour = Terminal::Colour::None);

  /** The lines since the last call in UTF-8, without blanks at their ends; columns never become narrower
   * than they were, except to fit. */
  QByteArray takeUtf8();

 private:
  struct Row {
    QStringList cells;
    Terminal::Colour colour;
  };

  QVector<int> fittingWidths() const;

  QVector<Column> m_columns;
  Terminal m_terminal;
  QVector<int> m_widths;  ///< characters, of the longest cell so far
  QVector<Row> m_rows;
};
