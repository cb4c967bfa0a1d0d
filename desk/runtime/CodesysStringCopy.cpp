#include "CodesysStringCopy.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <limits>

namespace {

constexpr char32_t kReplacementCharacter = 0xFFFD;
constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";
constexpr int kByteOrderMarkSize = 3;

/** Number of characters before the terminator, `length` of them at most; -1 is no bound. */
int boundedLength(const char* text, int length) {
  const std::size_t bound = length < 0 ? std::numeric_limits<int>::max() : static_cast<std::size_t>(length);
  return static_cast<int>(strnlen(text, bound));
}

int boundedLength(const unsigned short* text, int length) {
  const int bound = length < 0 ? std::numeric_limits<int>::max() : length;
  int count = 0;
  while (count < bound && text[count] != 0) {
    ++count;
  }
  return count;
}

/** Whether every byte stands for itself. Most texts are of this kind, and cost the PLC task the least. */
bool isAscii(const char* text, int size) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080U;
  std::uint64_t seen = 0;
  int index = 0;
  for (; index + 8 <= size; index += 8) {
    std::uint64_t bytes = 0;
    std::memcpy(&bytes, text + index, sizeof bytes);
    seen |= bytes;
  }
  for (; index < size; ++index) {
    seen |= static_cast<unsigned char>(text[index]);
  }
  return (seen & kHighBits) == 0;
}

/** The code point at `index`, which moves behind it. */
char32_t nextCodePoint(const QString& text, int& index) {
  const QChar unit = text.at(index++);
  if (!unit.isSurrogate()) {
    return unit.unicode();
  }
  if (unit.isHighSurrogate() && index < text.size() && text.at(index).isLowSurrogate()) {
    return QChar::surrogateToUcs4(unit, text.at(index++));
  }
  return kReplacementCharacter;
}

// Each encode() writes one code point if `room` allows and returns its size, otherwise 0.

int encode(char32_t codePoint, char* target, int room) {
  const int size = codePoint < 0x80 ? 1 : codePoint < 0x800 ? 2 : codePoint < 0x10000 ? 3 : 4;
  if (size > room) {
    return 0;
  }
  constexpr unsigned char kLeadBits[] = {0, 0x00, 0xC0, 0xE0, 0xF0};
  for (int i = size - 1; i > 0; --i) {
    target[i] = static_cast<char>(0x80U | (codePoint & 0x3FU));
    codePoint >>= 6U;
  }
  target[0] = static_cast<char>(kLeadBits[size] | codePoint);
  return size;
}

int encode(char32_t codePoint, unsigned short* target, int room) {
  if (!QChar::requiresSurrogates(codePoint)) {
    if (room < 1) {
      return 0;
    }
    target[0] = static_cast<unsigned short>(codePoint);
    return 1;
  }
  if (room < 2) {
    return 0;
  }
  target[0] = QChar::highSurrogate(codePoint);
  target[1] = QChar::lowSurrogate(codePoint);
  return 2;
}

#if defined(__SSE2__) || defined(__ARM_NEON)
constexpr bool kHasVectors = true;
#else
constexpr bool kHasVectors = false;  // taking units one by one is faster then
#endif

/** Units of a text side by side. */
using Units [[gnu::vector_size(16)]] = ushort;
constexpr int kUnits = sizeof(Units) / sizeof(ushort);

/** Whether a unit of the source is one unit of the target as it stands. Of Units: which of them, as -1 or 0.
 */
template <typename Unit>
constexpr auto isPlain(Unit unit, const char* /*target*/) {
  return (unit != 0) & (unit < 0x80);
}
template <typename Unit>
constexpr auto isPlain(Unit unit, const unsigned short* /*target*/) {
  return (unit != 0) & ((unit & 0xF800) != 0xD800);
}

/** Copy so many units if all of them are plain; whether they were. */
template <typename Character>
bool copyPlainUnits(const QChar* source, Character* target) {
  Units units;
  std::memcpy(&units, source, sizeof units);
  const auto plain = isPlain(units, target);
  std::array<qint64, 2> halves{};
  std::memcpy(halves.data(), &plain, sizeof plain);
  if ((halves[0] & halves[1]) != -1) {
    return false;
  }
  for (int i = 0; i < kUnits; ++i) {
    target[i] = static_cast<Character>(units[i]);
  }
  return true;
}

/** Copy plain units up to the first that is none; their number. */
template <typename Character>
int copyPlain(const QChar* source, int size, Character* target) {
  int count = 0;
  while (kHasVectors && count + kUnits <= size && copyPlainUnits(source + count, target + count)) {
    count += kUnits;
  }
  for (; count < size && isPlain(source[count].unicode(), target); ++count) {
    target[count] = static_cast<Character>(source[count].unicode());
  }
  return count;
}

template <typename Character>
bool writeText(const QString& source, Character* target, int capacity) {
  if (target == nullptr || capacity <= 0) {
    return false;
  }
  int written = 0;
  int index = 0;
  bool fits = true;
  while (fits && index < source.size()) {
    const int plain = copyPlain(source.constData() + index,
                                qMin(source.size() - index, capacity - 1 - written), target + written);
    index += plain;
    written += plain;
    if (index == source.size()) {
      break;
    }
    const char32_t codePoint = nextCodePoint(source, index);
    // IEC code would take U+0000 for the end, so it is one, and what follows counts as cut.
    const int size = codePoint == 0 ? 0 : encode(codePoint, target + written, capacity - 1 - written);
    fits = size > 0;
    written += size;
  }
  target[written] = 0;
  return fits;
}

}  // namespace

void copyCStringDataToQString(const char* source, int length, QString& target) {
  if (source == nullptr) {
    target.clear();
    return;
  }
  const int size = boundedLength(source, length);
  if (isAscii(source, size)) {
    target = QString::fromLatin1(source, size);
    return;
  }
  // fromUtf8() swallows a leading byte order mark, so those at the start are taken by hand.
  int taken = 0;
  while (size - taken >= kByteOrderMarkSize &&
         std::memcmp(source + taken, kByteOrderMark, kByteOrderMarkSize) == 0) {
    taken += kByteOrderMarkSize;
  }
  target = QString(taken / kByteOrderMarkSize, QChar(QChar::ByteOrderMark)) +
           QString::fromUtf8(source + taken, size - taken);
}

void copyWStringDataToQString(const unsigned short* source, int length, QString& target) {
  target.clear();
  if (source == nullptr) {
    return;
  }
  // The unit-wise constructor keeps a byte order mark, fromUtf16() would obey it.
  target = QString(reinterpret_cast<const QChar*>(source), boundedLength(source, length));
  for (int index = 0; index < target.size();) {
    const int start = index;
    if (nextCodePoint(target, index) == kReplacementCharacter) {
      target[start] = QChar(QChar::ReplacementCharacter);
    }
  }
}

bool copyQStringDataToCStringData(const QString& source, char* target, short capacity, bool /*freeText*/) {
  return writeText(source, target, capacity);
}

bool copyQStringDataToWStringData(const QString& source, unsigned short* target, short capacity,
                                  bool /*freeText*/) {
  return writeText(source, target, capacity);
}
