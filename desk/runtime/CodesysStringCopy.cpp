#include "CodesysStringCopy.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>

namespace {

constexpr char32_t kReplacementCharacter = 0xFFFD;
constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";
constexpr int kByteOrderMarkSize = 3;

/** Number of characters before the terminator, at most `length`; a negative `length` is no bound. */
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

/** @return the code point at `unit`, U+FFFD for a lone surrogate. Moves `unit` to the next one. */
char32_t nextCodePoint(const QChar*& unit, const QChar* end) {
  const QChar first = *unit++;
  if (!first.isSurrogate()) {
    return first.unicode();
  }
  if (first.isHighSurrogate() && unit != end && unit->isLowSurrogate()) {
    return QChar::surrogateToUcs4(first, *unit++);
  }
  return kReplacementCharacter;
}

// encode() writes one code point and returns its size, or returns 0 if it does not fit into `space`
// characters.

int encode(char32_t codePoint, char* target, int space) {
  const int size = codePoint < 0x80 ? 1 : codePoint < 0x800 ? 2 : codePoint < 0x10000 ? 3 : 4;
  if (size > space) {
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

int encode(char32_t codePoint, unsigned short* target, int space) {
  if (!QChar::requiresSurrogates(codePoint)) {
    if (space < 1) {
      return 0;
    }
    target[0] = static_cast<unsigned short>(codePoint);
    return 1;
  }
  if (space < 2) {
    return 0;
  }
  target[0] = QChar::highSurrogate(codePoint);
  target[1] = QChar::lowSurrogate(codePoint);
  return 2;
}

/** Whether a unit is copied as it is, whatever follows it: no conversion, no terminator. */
constexpr bool isPlain(ushort unit, const char* /*target*/) {
  return unit != 0 && unit < 0x80;
}
constexpr bool isPlain(ushort unit, const unsigned short* /*target*/) {
  return unit != 0 && unit < 0xD800;  // the first surrogate
}

template <typename Character>
bool writeText(const QString& source, Character* target, int capacity) {
  if (target == nullptr || capacity <= 0) {
    return false;
  }
  const QChar* unit = source.constData();
  const QChar* const end = unit + source.size();
  const Character* const last = target + capacity - 1;  // for the terminator
  bool fits = true;
  while (fits && unit != end) {
    const QChar* const stop = unit + std::min<std::ptrdiff_t>(end - unit, last - target);
    for (; unit != stop && isPlain(unit->unicode(), target); ++unit, ++target) {
      *target = static_cast<Character>(unit->unicode());
    }
    if (unit != end) {
      const char32_t codePoint = nextCodePoint(unit, end);
      // IEC code would read U+0000 as the terminator, so the text ends there and the rest counts as cut.
      const int size = codePoint == 0 ? 0 : encode(codePoint, target, static_cast<int>(last - target));
      fits = size > 0;
      target += size;
    }
  }
  *target = 0;
  return fits;
}

}  // namespace

void copyCStringDataToQString(const char* source, int length, QString& target) {
  if (source == nullptr) {
    target.clear();
    return;
  }
  const int size = boundedLength(source, length);
  // fromUtf8() drops a byte order mark at the start, so the marks there are converted here.
  int taken = 0;
  while (size - taken >= kByteOrderMarkSize &&
         std::memcmp(source + taken, kByteOrderMark, kByteOrderMarkSize) == 0) {
    taken += kByteOrderMarkSize;
  }
  target = QString::fromUtf8(source + taken, size - taken);
  if (taken > 0) {
    target.prepend(QString(taken / kByteOrderMarkSize, QChar(QChar::ByteOrderMark)));
  }
}

void copyWStringDataToQString(const unsigned short* source, int length, QString& target) {
  target.clear();
  if (source == nullptr) {
    return;
  }
  // This constructor copies a byte order mark; fromUtf16() would interpret it.
  target = QString(reinterpret_cast<const QChar*>(source), boundedLength(source, length));
  QChar* const begin = target.data();
  const QChar* const end = begin + target.size();
  for (const QChar* unit = begin; unit != end;) {
    QChar& first = begin[unit - begin];
    if (nextCodePoint(unit, end) == kReplacementCharacter) {
      first = QChar(QChar::ReplacementCharacter);
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
