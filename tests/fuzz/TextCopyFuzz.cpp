// Text copies in all four directions, at every capacity: whole characters, terminated, and the same text when
// it comes back.

#include "CodesysStringCopy.h"
#include "Fuzz.h"

namespace {

template <typename Character, typename Write, typename Read>
void write(const QString& text, int encodedSize, Write write, Read read) {
  static GuardedMemory memory;
  for (int capacity = 1; capacity <= encodedSize + 2; ++capacity) {
    auto* const target = memory.last<Character>(static_cast<std::size_t>(capacity));
    const bool fits = write(text, target, static_cast<short>(capacity), false);
    fuzz::check(fits == (capacity > encodedSize), "fits or not");
    QString back;
    read(target, -1, back);
    fuzz::check(fits ? back == text : text.startsWith(back), "another text came back");
  }
}

/** `bytes` as a text that ends by its length, where the memory does. */
template <typename Character, typename Read>
QString arrived(const std::string& bytes, Read read) {
  static GuardedMemory memory;
  const std::size_t length = bytes.size() / sizeof(Character);
  auto* const source = memory.last<Character>(length);
  std::memcpy(source, bytes.data(), length * sizeof(Character));
  QString text;
  read(source, static_cast<int>(length), text);
  return text;
}

}  // namespace

void fuzz::run(FuzzedDataProvider& input) {
  const std::string bytes = input.ConsumeBytesAsString(64);
  for (const QString& text :
       {arrived<char>(bytes, copyCStringDataToQString), arrived<ushort>(bytes, copyWStringDataToQString)}) {
    write<char>(text, text.toUtf8().size(), copyQStringDataToCStringData, copyCStringDataToQString);
    write<ushort>(text, text.size(), copyQStringDataToWStringData, copyWStringDataToQString);
  }
}
