#include "Terminal.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

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
  static constexpr const char* kStart[] = {"", "\033[1m", "\033[31m", "\033[33m", "\033[36m"};
  return colours && colour != Colour::None ? kStart[static_cast<int>(colour)] + text + "\033[0m" : text;
}

void Terminal::print(const QByteArray& text) {
  const auto size = static_cast<std::size_t>(text.size());
  if (std::fwrite(text.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0) {
    return;
  }
  if (errno == EPIPE) {
    throw ReaderGone();
  }
  throw std::runtime_error(std::string("the output cannot be written: ") + std::strerror(errno));
}

void Terminal::printJson(const QJsonDocument& document) {
  print(document.toJson(QJsonDocument::Compact) + '\n');
}

void Terminal::wait(int milliseconds, int input) {
  pollfd files[] = {{STDOUT_FILENO, 0, 0}, {input, POLLIN, 0}};
  if (poll(files, 2, milliseconds) > 0 && files[0].revents != 0) {
    throw ReaderGone();
  }
}
