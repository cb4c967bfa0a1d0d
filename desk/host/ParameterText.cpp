#include "ParameterText.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <map>
#include <type_traits>

#include "tavroline/tavroline.h"

// One overload of add() per field type. Argument-dependent look-up must find the structures' overloads, which
// are declared last, so all overloads are in the structures' namespace: the global one.

static void add(std::string& text, RTS_IEC_BOOL value) {
  text += value != 0 ? "TRUE" : "FALSE";
}

template <typename Number>
static std::enable_if_t<std::is_integral_v<Number>> add(std::string& text, Number value) {
  text += std::to_string(value);
}

/** DATE_AND_TIME is the interface's only 32-bit unsigned type; the text shows it as it is, UTC or local. */
static void add(std::string& text, RTS_IEC_DATE_AND_TIME value) {
  const auto seconds = static_cast<time_t>(value);
  tm parts{};
  char time[32];
  std::strftime(time, sizeof time, "%FT%T", gmtime_r(&seconds, &parts));
  text += value == 0 ? "0" : time;
}

static void add(std::string& text, const __ARRAY__DIM__INFO& bounds) {
  text += std::to_string(bounds.lower) + ".." + std::to_string(bounds.upper);
}

static void addQuoted(std::string& text, const RTS_IEC_STRING* characters, std::size_t capacity) {
  text += '"';
  for (std::size_t i = 0; i < capacity && characters[i] != '\0'; ++i) {
    const auto byte = static_cast<unsigned char>(characters[i]);
    if (byte == '"' || byte == '\\') {
      text += '\\';
    }
    text += byte < 0x20 || byte == 0x7f ? ' ' : characters[i];
  }
  text += '"';
}

static void addUtf8(std::string& text, std::uint32_t point) {
  const auto tail = [point](unsigned shift) { return static_cast<char>(0x80U | ((point >> shift) & 0x3fU)); };
  if (point < 0x80) {
    text += static_cast<char>(point);
  } else if (point < 0x800) {
    (text += static_cast<char>(0xc0U | (point >> 6U))) += tail(0);
  } else if (point < 0x10000) {
    ((text += static_cast<char>(0xe0U | (point >> 12U))) += tail(6)) += tail(0);
  } else {
    (((text += static_cast<char>(0xf0U | (point >> 18U))) += tail(12)) += tail(6)) += tail(0);
  }
}

static void addQuoted(std::string& text, const RTS_IEC_WSTRING* units, std::size_t capacity) {
  constexpr std::uint32_t kReplacement = 0xfffd;
  std::string utf8;
  for (std::size_t i = 0; i < capacity && units[i] != 0; ++i) {
    std::uint32_t point = units[i];
    const std::uint32_t next = i + 1 < capacity ? units[i + 1] : 0U;
    if (point >= 0xd800 && point < 0xdc00 && next >= 0xdc00 && next < 0xe000) {
      point = 0x10000U + ((point - 0xd800U) << 10U) + (next - 0xdc00U);
      ++i;
    } else if (point >= 0xd800 && point < 0xe000) {
      point = kReplacement;
    }
    addUtf8(utf8, point);
  }
  addQuoted(text, utf8.c_str(), utf8.size());
}

template <typename Character, std::size_t capacity>
static std::enable_if_t<std::is_integral_v<Character>> add(std::string& text,
                                                           const Character (&field)[capacity]) {
  addQuoted(text, field, capacity);
}

/** A handle is shown as an address, any other pointer by the value it points to. */
static void addPointer(std::string& text, void* handle) {
  char hex[24];
  std::snprintf(hex, sizeof hex, "0x%" PRIxPTR, reinterpret_cast<std::uintptr_t>(handle));
  text += hex;
}

template <typename Target>
static void addPointer(std::string& text, const Target* target) {
  if (target == nullptr) {
    text += "null";
  } else {
    add(text, *target);
  }
}

template <typename Character>
static void addText(std::string& text, const Character* characters) {
  if (characters == nullptr) {
    text += "null";
  } else {
    addQuoted(text, characters, SIZE_MAX);
  }
}

static void addPointer(std::string& text, const RTS_IEC_STRING* characters) {
  addText(text, characters);
}

static void addPointer(std::string& text, const RTS_IEC_WSTRING* units) {
  addText(text, units);
}

template <typename Field>
static void addField(std::string& text, const char* name, const Field& field) {
  if (text.back() != '{') {
    text += ", ";
  }
  (text += name) += '=';
  if constexpr (std::is_pointer_v<Field>) {
    addPointer(text, field);
  } else {
    add(text, field);
  }
}

/** Shows the first kShown elements of an array, within its bounds; `addElement` appends the text of one
 * element. */
template <typename Add>
static void addArray(std::string& text, const char* name, const __ARRAY__DIM__INFO& bounds, const void* first,
                     const Add& addElement) {
  constexpr std::int64_t kShown = 8;
  const std::int64_t count = first == nullptr ? 0 : std::int64_t{bounds.upper} - bounds.lower + 1;
  (text += text.back() != '{' ? ", " : "") += name;
  text += first == nullptr ? "=null" : "=[";
  for (std::int64_t i = 0; i < count && i < kShown; ++i) {
    if (i > 0) {
      text += ", ";
    }
    addElement(static_cast<std::size_t>(i));
  }
  if (count > kShown) {
    text += ", ...";
  }
  if (first != nullptr) {
    text += ']';
  }
}

// clang-format off
#define STRUCTURE(type) static void add(std::string& text, const type& s) { text += '{';
#define FIELD(name) addField(text, #name, s.name);
#define FILLED(name, number) \
  addArray(text, #name, {1, s.iResult == TAVROLINE_DONE ? s.number : 0}, s.name, \
           [&](std::size_t i) { add(text, s.name[i]); });
#define ARRAY(name, bounds) \
  addArray(text, #name, s.bounds, s.name, [&](std::size_t i) { add(text, s.name[i]); });
#define TEXTS(name, bounds, size) \
  addArray(text, #name, s.bounds, s.size > 0 ? s.name : nullptr, [&](std::size_t i) { \
    const auto width = static_cast<std::size_t>(s.size); addQuoted(text, s.name + i * width, width); });
#define END_STRUCTURE text += '}'; }
#define FUNCTION(name, type)
#include "ParameterFields.inc"
#undef STRUCTURE
#undef FIELD
#undef FILLED
#undef ARRAY
#undef TEXTS
#undef END_STRUCTURE
#undef FUNCTION

template <typename Structure>
static std::string textOf(const void* parameters) {
  std::string text;
  addPointer(text, static_cast<const Structure*>(parameters));
  return text;
}

std::string parameterText(const std::string& function, const void* parameters) {
  static const std::map<std::string, std::string (*)(const void*)> kTexts{
#define STRUCTURE(type)
#define FIELD(name)
#define FILLED(name, number)
#define ARRAY(name, bounds)
#define TEXTS(name, bounds, size)
#define END_STRUCTURE
#define FUNCTION(name, type) {#name, textOf<type>},
#include "ParameterFields.inc"
  };
  // clang-format on
  const auto found = kTexts.find(function);
  return found == kTexts.end() ? std::string() : found->second(parameters);
}
