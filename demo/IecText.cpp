#include "IecText.h"

namespace {

constexpr char32_t kFirstHighSurrogate = 0xD800;
constexpr char32_t kFirstLowSurrogate = 0xDC00;
constexpr char32_t kFirstSupplementary = 0x10000;

void appendUtf8(std::string& target, char32_t character) {
  const auto add = [&target](char32_t byte) { target += static_cast<char>(byte); };
  if (character < 0x80) {
    add(character);
  } else if (character < 0x800) {
    add(0xC0 | character >> 6);
    add(0x80 | (character & 0x3F));
  } else {
    if (character < kFirstSupplementary) {
      add(0xE0 | character >> 12);
    } else {
      add(0xF0 | character >> 18);
      add(0x80 | (character >> 12 & 0x3F));
    }
    add(0x80 | (character >> 6 & 0x3F));
    add(0x80 | (character & 0x3F));
  }
}

}  // namespace

IecText::WString IecText::wide(std::u16string_view text) {
  WString result{};
  std::transform(text.begin(),
                 text.begin() + static_cast<std::ptrdiff_t>(std::min(text.size(), result.size() - 1)),
                 result.begin(), [](char16_t unit) { return static_cast<RTS_IEC_WSTRING>(unit); });
  return result;
}

std::string IecText::narrow(const RTS_IEC_WSTRING* text) {
  std::string result;
  for (; *text != 0; ++text) {
    char32_t character = *text;
    // The component never delivers a lone surrogate, so a low one follows a high one.
    if (character >= kFirstHighSurrogate && character < kFirstLowSurrogate) {
      character =
          kFirstSupplementary + ((character - kFirstHighSurrogate) << 10) + (*++text - kFirstLowSurrogate);
    }
    appendUtf8(result, character);
  }
  return result;
}
