// Text copies in all four directions, at every capacity: terminated, whole characters, nothing behind the
// terminator touched, and the same text when it comes back.

#include <QVector>

#include "CodesysStringCopy.h"
#include "Fuzz.h"

namespace {

constexpr int kPattern = 0xA5;
constexpr int kLargestText = 300;

template <typename Character>
using Write = bool (*)(const QString&, Character*, short, bool);
template <typename Character>
using Read = void (*)(const Character*, int, QString&);

fuzz::GuardedMemory& memory() {
  static fuzz::GuardedMemory instance(64 * 1024);
  return instance;
}

/** What is to arrive: up to U+0000, with lone surrogates replaced. */
QString expected(const QString& text) {
  const int end = text.indexOf(QChar());
  const QVector<uint> codePoints =
      (QLatin1Char('x') + text.left(end)).toUcs4();  // x: keeps a byte order mark
  return QString::fromUcs4(codePoints.constData(), codePoints.size()).mid(1);
}

template <typename Character>
void writeAtEveryCapacity(const QString& text, int encodedSize, Write<Character> write,
                          Read<Character> read) {
  const QString whole = expected(text);
  for (int capacity = -1; capacity <= encodedSize + 2; ++capacity) {
    const auto room = static_cast<std::size_t>(std::max(capacity, 0));
    auto* const target = memory().last<Character>(room, kPattern);
    const bool fits = write(text, target, static_cast<short>(capacity), capacity % 2 != 0);
    fuzz::check(fits == (capacity > encodedSize && !text.contains(QChar())), "wrong answer whether it fits");
    if (capacity <= 0) continue;
    fuzz::checkText(target, room);
    QString back;
    read(target, -1, back);
    fuzz::check(whole.startsWith(back), "another text than was written");
    fuzz::check(!fits || back == whole, "less text than fitted");
    const auto* untouched = reinterpret_cast<const unsigned char*>(std::find(target, target + room, 0) + 1);
    const auto* const end = reinterpret_cast<const unsigned char*>(target + room);
    fuzz::check(std::all_of(untouched, end, [](unsigned char byte) { return byte == kPattern; }),
                "touched behind the terminator");
  }
}

void writeBoth(const QString& text) {
  const QString whole = expected(text);
  writeAtEveryCapacity<char>(text, whole.toUtf8().size(), copyQStringDataToCStringData,
                             copyCStringDataToQString);
  writeAtEveryCapacity<unsigned short>(text, whole.size(), copyQStringDataToWStringData,
                                       copyWStringDataToQString);
}

/** `bytes` as a text bounded by its length, which the memory ends with, or by a terminator. */
template <typename Character>
void readText(const std::string& bytes, bool bounded, Read<Character> read) {
  const std::size_t length = bytes.size() / sizeof(Character);
  auto* const source = memory().last<Character>(length + (bounded ? 0 : 1), 0);
  std::memcpy(source, bytes.data(), length * sizeof(Character));
  QString text;
  read(source, bounded ? static_cast<int>(length) : -1, text);
  fuzz::check(text.isValidUtf16(), "read a lone surrogate");
  writeBoth(text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const bool bounded = input.ConsumeBool();
  const std::string bytes = input.ConsumeBytesAsString(kLargestText);
  readText<char>(bytes, bounded, copyCStringDataToQString);
  readText<unsigned short>(bytes, bounded, copyWStringDataToQString);
  QString units(static_cast<int>(bytes.size() / sizeof(QChar)), QChar());
  std::memcpy(units.data(), bytes.data(), bytes.size() / sizeof(QChar) * sizeof(QChar));
  writeBoth(units);
  return 0;
}
