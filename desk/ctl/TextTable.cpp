#include "TextTable.h"

#include <algorithm>
#include <clocale>
#include <cwchar>
#include <numeric>

namespace {

constexpr int kGap = 2;
constexpr int kMostInFile = 48;  // columns; longer cells make only their own line longer

QString printable(QString cell) {
  std::replace_if(
      cell.begin(), cell.end(), [](QChar c) { return !c.isPrint() && !c.isSurrogate(); }, QLatin1Char(' '));
  return cell;
}

/** Columns that a character takes on a terminal: 2 for a wide one, 0 for one that joins the one before. */
int widthOf(uint character) {
  static const bool known = std::setlocale(LC_CTYPE, "C.UTF-8") != nullptr;
  return known ? std::max(0, wcwidth(static_cast<wchar_t>(character))) : 1;
}

int widthOf(const QString& text) {
  const QVector<uint> characters = text.toUcs4();
  return std::accumulate(characters.begin(), characters.end(), 0,
                         [](int width, uint character) { return width + widthOf(character); });
}

QString padded(const QString& text, int width) {
  return text + QString(std::max(0, width - widthOf(text)), QLatin1Char(' '));
}

/** The text in exactly `width` columns: filled up with blanks, or cut behind a whole character, and an
 * ellipsis. */
QString fitted(const QString& text, int width) {
  if (widthOf(text) <= width) {
    return padded(text, width);
  }
  const QVector<uint> characters = text.toUcs4();
  int count = 0;
  for (int used = 0; (used += widthOf(characters.at(count))) < width;) {
    ++count;
  }
  return padded(QString::fromUcs4(characters.constData(), count) + QChar(0x2026), width);
}

}  // namespace

TextTable::TextTable(const QVector<Column>& columns) : m_columns(columns), m_widths(columns.size()) {
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
    m_widths[i] = qMax(m_widths.at(i), widthOf(row.at(i)));
  }
  m_rows.append({row, colour});
}

QVector<int> TextTable::fittingWidths() const {
  QVector<int> widths = m_widths;
  if (m_terminal.width == 0) {
    std::transform(widths.begin(), widths.end(), widths.begin(),
                   [](int w) { return std::min(w, kMostInFile); });
    return widths;
  }
  const int gaps = kGap * (static_cast<int>(widths.size()) - 1);
  int excess = std::accumulate(widths.begin(), widths.end(), gaps) - m_terminal.width;
  QVector<int> order(widths.size());
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(),
                   [this](int a, int b) { return m_columns.at(a).least < m_columns.at(b).least; });
  for (const int i : qAsConst(order)) {
    const int least = m_columns.at(i).least;
    const int cut = least == 0 ? 0 : qBound(0, excess, qMax(0, widths.at(i) - least));
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
      const auto inColumn = m_terminal.width == 0 ? padded : fitted;
      line += inColumn(row.cells.at(i), widths.at(i)) + QString(kGap, QLatin1Char(' '));
    }
    // If the terminal is narrower than the least widths together, the line is cut instead of wrapped.
    line = line.left(line.size() - kGap);
    if (m_terminal.width != 0) {
      line = fitted(line, m_terminal.width);
    }
    while (line.endsWith(QLatin1Char(' '))) {
      line.chop(1);
    }
    text += m_terminal.coloured(line.toUtf8(), row.colour) + '\n';
  }
  m_rows.clear();
  return text;
}
