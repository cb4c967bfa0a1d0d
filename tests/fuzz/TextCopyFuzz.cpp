// Text copies in all four directions, at every capacity: whole characters, terminated, nothing touched behind
// the terminator, and the same text when it comes back.

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
  for (int capacity = -1; capacity <= encodedSize + 2; ++capacity) {
    const auto room = static_cast<std::size_t>(std::max(capacity, 0));
    auto* const target = memory.last<Character>(room);
    const bool fits = write(text, target, static_cast<short>(capacity), false);
    fuzz::check(fits == (capacity > encodedSize && !text.contains(QChar())), "fits or not");
    if (capacity <= 0) continue;
    fuzz::checkText(target, room);
    fuzz::checkUntouched(std::find(target, target + room, 0) + 1, target + room);
    QString back;
    read(target, -1, back);
    fuzz::check(fits ? back == visible(text) : visible(text).startsWith(back), "another text came back");
  }
}

void write(const QString& text) {
  const QString whole = visible(text);
  write<char>(text, whole.toUtf8().size(), copyQStringDataToCStringData, copyCStringDataToQString);
  write<unsigned short>(text, whole.size(), copyQStringDataToWStringData, copyWStringDataToQString);
}

/** `bytes` as a text that ends by its length, where the memory does, or by a terminator. */
template <typename Character, typename Read>
void readAndWrite(const std::string& bytes, bool terminated, Read read) {
  static fuzz::GuardedMemory memory;
  const std::size_t length = bytes.size() / sizeof(Character);
  auto* const source = memory.last<Character>(length + (terminated ? 1 : 0));
  std::memcpy(source, bytes.data(), length * sizeof(Character));
  if (terminated) source[length] = 0;
  QString text;
  read(source, terminated ? -1 : static_cast<int>(length), text);
  fuzz::check(text.isValidUtf16(), "read a lone surrogate");
  write(text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const bool terminated = input.ConsumeBool();
  const std::string bytes = input.ConsumeBytesAsString(300);
  readAndWrite<char>(bytes, terminated, copyCStringDataToQString);
  readAndWrite<unsigned short>(bytes, terminated, copyWStringDataToQString);
  QString units(static_cast<int>(bytes.size() / sizeof(QChar)), QChar());
  std::copy_n(bytes.data(), units.size() * 2, reinterpret_cast<char*>(units.data()));
  write(units);
  return 0;
}
