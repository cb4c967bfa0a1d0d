#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QStringList>
#include <QVector>

/** The program that read standard output has ended: nothing is left to do. */
struct ReaderGone {};

/** Standard output: a terminal of some width that may show colours, or a file or pipe, whose lines are
 * neither cut nor coloured. */
struct Terminal {
  enum class Colour { None, Bold, Red, Yellow, Cyan };

  int width = 0;  ///< columns in a line, 0 for no limit
  bool colours = false;

  /** Standard output as it is now; NO_COLOR in the environment or the terminal "dumb" switches colours off.
   */
  static Terminal ofStandardOutput();

  /** The text, between the sequences that colour it if colours are shown. */
  QByteArray coloured(const QByteArray& text, Colour colour) const;

  /** Write the text to standard output at once, so that a reader of the pipe gets it. Throws ReaderGone, or
   * std::runtime_error if it cannot be written. */
  static void print(const QByteArray& text);
  /** As print(), the document on one line. */
  static void printJson(const QJsonDocument& document);

  /** Wait for this time, -1 without a limit, or until `input` can be read. Throws ReaderGone. */
  static void wait(int milliseconds, int input = -1);
};

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

  /** @param cells one for each column */
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
