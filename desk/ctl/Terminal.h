#pragma once

#include <QByteArray>
#include <QJsonDocument>

/** The program that read standard output has ended: nothing is left to do. */
struct ReaderGone {};

/** Standard output: a terminal of some width that may show colours, or a file or pipe, whose lines are
 * neither cut nor coloured. */
struct Terminal {
  enum class Colour { None, Bold, Red, Yellow, Cyan };

  int width = 0;  ///< columns in a line, 0 for no limit
  bool colours = false;

  /** Standard output as it is now; the variable NO_COLOR or the terminal "dumb" switches colours off. */
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
