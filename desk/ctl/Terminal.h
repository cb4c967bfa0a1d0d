#pragma once

#include <QByteArray>

/** What standard output is: a terminal of some width that shows colours, or anything else, which gets neither
 * cut lines nor colours. */
struct Terminal {
  enum class Colour { None, Bold, Red, Yellow, Cyan };

  int width = 0;  ///< characters in a line, 0 for no limit
  bool colours = false;

  /** As standard output is now; NO_COLOR in the environment and the terminal "dumb" switch colours off.
   * [any-thread] */
  static Terminal ofStandardOutput();

  /** The text, between the sequences that colour it where colours are shown. [any-thread] */
  QByteArray coloured(const QByteArray& text, Colour colour) const;
};
