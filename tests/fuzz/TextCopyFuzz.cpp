// Text copies in all four directions, at every capacity: whole characters, terminated, and the same text when
// it comes back.

#include <QVector>

#include "CodesysStringCopy.h"
#include "Fuzz.h"

namespace {

/** What is to arrive: up to U+0000, with lone surrogates replaced. */
QString visible(const QString& text) {
  const QVector<uint> marked = (QLatin1Char('x') + text.left(text.indexOf(QChar()))).toUcs4();
  return QString::fromUcs4(marked.constData(), marked.size()).mid(1);
}

template <typename Character, typename Write, typename Read>
void write(const QString& text, int encodedSize, Write write, Read read) {
  static fuzz::GuardedMemory memory;
  for (int capacity = 0; capacity <= encodedSize + 2; ++capacity) {
    auto* const target = memory.last<Character>(static_cast<std::size_t>(capacity));
    const bool fits = write(text, target, static_cast<short>(capacity), false);
    fuzz::check(fits == (capacity > encodedSize && !text.contains(QChar())), "fits or not");
    if (capacity == 0) continue;
    fuzz::checkText(target, static_cast<std::size_t>(capacity));
    QString back;
    read(target, -1, back);
    fuzz::check(fits ? back == visible(text) : visible(text).startsWith(back), "another text came back");
  }
}

/** `bytes` as a text that ends by its length, where the memory does, or by a terminator; and out again. */
template <typename Character, typename Read>
void copy(const std::string& bytes, bool terminated, Read read) {
  static fuzz::GuardedMemory memory;
  const std::size_t length = bytes.size() / sizeof(Character);
  auto* const source = memory.last<Character>(length + (terminated ? 1 : 0));
  std::memcpy(source, bytes.data(), length * sizeof(Character));
  if (terminated) source[length] = 0;
  QString text;
  read(source, terminated ? -1 : static_cast<int>(length), text);
  write<char>(text, visible(text).toUtf8().size(), copyQStringDataToCStringData, copyCStringDataToQString);
  write<ushort>(text, visible(text).size(), copyQStringDataToWStringData, copyWStringDataToQString);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const bool terminated = input.ConsumeBool();
  const std::string bytes = input.ConsumeBytesAsString(64);
  copy<char>(bytes, terminated, copyCStringDataToQString);
  copy<ushort>(bytes, terminated, copyWStringDataToQString);
  const auto unchecked = [](const ushort* units, int length, QString& text) {
    text = QString(reinterpret_cast<const QChar*>(units), std::max(length, 0));
  };
  copy<ushort>(bytes, false, unchecked);
  return 0;
}
