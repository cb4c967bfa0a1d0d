#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "tavroline/conventions.h"

/** Texts between this program and IEC memory: STRING is UTF-8, WSTRING UTF-16. */
namespace IecText {

/** A WSTRING[80] with its terminator. */
using WString = std::array<RTS_IEC_WSTRING, TAVROLINE_TEXT_80>;

/** Fill a STRING or WSTRING field, cut to its capacity and terminated. */
template <typename Character, std::size_t capacity, typename Source>
void fill(Character (&field)[capacity], std::basic_string_view<Source> text) {
  const std::size_t size = std::min(text.size(), capacity - 1);
  std::transform(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(size), field,
                 [](Source character) { return static_cast<Character>(character); });
  field[size] = 0;
}

/** The text as a WSTRING[80]. */
WString wide(std::u16string_view text);

/** UTF-8 of a WSTRING, read to its terminator. */
std::string narrow(const RTS_IEC_WSTRING* text);

}  // namespace IecText
