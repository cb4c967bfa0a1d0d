#include "Terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

Terminal Terminal::ofStandardOutput() {
  Terminal terminal;
  if (isatty(STDOUT_FILENO) == 0) {
    return terminal;
  }
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0) {
    terminal.width = size.ws_col;
  }
  terminal.colours = qEnvironmentVariableIsEmpty("NO_COLOR") && qgetenv("TERM") != "dumb";
  return terminal;
}

QByteArray Terminal::coloured(const QByteArray& text, Colour colour) const {
  const char* start = "";
  switch (colour) {
    case Colour::None:
      return text;
    case Colour::Bold:
      start = "\033[1m";
      break;
    case Colour::Red:
      start = "\033[31m";
      break;
    case Colour::Yellow:
      start = "\033[33m";
      break;
    case Colour::Cyan:
      start = "\033[36m";
      break;
  }
  return colours ? start + text + "\033[0m" : text;
}
