#include "Terminal.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <numeric>
#include <stdexcept>

namespace {

constexpr int kGap = 2;

QString printable(QString cell) {
  std::replace_if(
      cell.begin(), cell.end(), [](QChar c) { return !c.isPrint() && !c.isSurrogate(); }, QLatin1Char(' '));
  return cell;
}

/** The text in exactly `width` characters: filled up with blanks, or cut with an ellipsis as its last
 * character. */
QString fitted(const QString& text, int width) {
  if (text.size() <= width) {
    return text.leftJustified(width);
  }
  return text.left(width - 1) + QChar(0x2026);
}

}  // namespace

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

TextTable::TextTable(const QVector<Column>& columns, const Terminal& terminal)
    : m_columns(columns), m_terminal(terminal), m_widths(columns.size()) {
  QStringList titles;
  for (const Column& column : columns) {
    titles += column.title;
  }
  addRow(titles, Terminal::Colour::Bold);
}

void TextTable::addRow(const QStringList& cells, Terminal::Colour colour) {
  QStringList row;
  std::transform(cells.begin(), cells.end(), std::back_inserter(row), printable);
  for (int i = 0; i < row.size(); ++i) {
    m_widths[i] = qMax(m_widths.at(i), row.at(i).size());
  }
  m_rows.append({row, colour});
}

QVector<int> TextTable::fittingWidths() const {
  QVector<int> widths = m_widths;
  if (m_terminal.width == 0) {
    return widths;
  }
  const int gaps = kGap * (static_cast<int>(widths.size()) - 1);
  int excess = std::accumulate(widths.begin(), widths.end(), gaps) - m_terminal.width;
  for (int i = 0; i < widths.size(); ++i) {
    const int least = m_columns.at(i).least;
    if (least == 0) {
      continue;
    }
    const int cut = qBound(0, excess, qMax(0, widths.at(i) - least));
    widths[i] -= cut;
    excess -= cut;
  }
  return widths;
}

QByteArray TextTable::takeUtf8() {
  const QVector<int> widths = fittingWidths();
  QByteArray text;
  for (const Row& row : qAsConst(m_rows)) {
    QString line;
    for (int i = 0; i < row.cells.size(); ++i) {
      line += fitted(row.cells.at(i), widths.at(i)) + QString(kGap, QLatin1Char(' '));
    }
    while (line.endsWith(QLatin1Char(' '))) {
      line.chop(1);
    }
    // The terminal may be narrower than the least widths together: cut lines are easier to read than wrapped
    // ones.
    if (m_terminal.width != 0) {
      line.truncate(m_terminal.width);
    }
    text += m_terminal.coloured(line.toUtf8(), row.colour) + '\n';
  }
  m_rows.clear();
  return text;
}
