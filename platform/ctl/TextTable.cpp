#include "TextTable.h"

#include <algorithm>

namespace {

QString printable(QString cell) {
  std::replace_if(
      cell.begin(), cell.end(), [](QChar c) { return !c.isPrint() && !c.isSurrogate(); }, QLatin1Char(' '));
  return cell;
}

}  // namespace

void TextTable::addRow(const QStringList& cells) {
  QStringList row;
  std::transform(cells.begin(), cells.end(), std::back_inserter(row), printable);
  for (int i = 0; i < row.size(); ++i)
    m_widths[i] = qMax(m_widths.at(i), row.at(i).size());
  m_rows.append(row);
}

QByteArray TextTable::takeUtf8() {
  QByteArray text;
  for (const QStringList& row : qAsConst(m_rows)) {
    QString line;
    for (int i = 0; i < row.size(); ++i) {
      line += row.at(i).leftJustified(m_widths.at(i)) + QStringLiteral("  ");
    }
    while (line.endsWith(QLatin1Char(' ')))
      line.chop(1);
    text += line.toUtf8() + '\n';
  }
  m_rows.clear();
  return text;
}
