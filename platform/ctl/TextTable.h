#pragma once

#include <QByteArray>
#include <QStringList>
#include <QVector>

/**
 * Rows of texts as plain text with aligned columns. Characters that would move the cursor or steer a terminal
 * are shown as blanks. It counts characters, not the columns that wide ones take. [any-thread]
 */
class TextTable {
 public:
  explicit TextTable(const QStringList& header) : m_widths(header.size()) { addRow(header); }

  /** @param cells as many as the header has */
  void addRow(const QStringList& cells);

  /** The lines since the last call in UTF-8, without blanks at their ends; columns never become narrower. */
  QByteArray takeUtf8();

 private:
  QVector<int> m_widths;  ///< characters
  QVector<QStringList> m_rows;
};
