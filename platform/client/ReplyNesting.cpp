#include "ReplyNesting.h"

#include <cstring>

namespace {

/** The first character behind the string whose content starts there, or the terminator. */
const char* behindString(const char* position) {
  for (;;) {
    position += std::strcspn(position, "\"\\");
    if (*position == '\0') return position;
    if (*position++ == '"') return position;
    if (*position != '\0') ++position;  // behind a backslash
  }
}

}  // namespace

bool ReplyNesting::isTooDeep(const char* json) noexcept {
  int depth = 0;
  while (*json != '\0') {
    const char character = *json++;
    if (character == '"') {
      json = behindString(json);
    } else if (character == '[' || character == '{') {
      if (++depth > kDeepest) return true;
    } else if (character == ']' || character == '}') {
      --depth;
    }
  }
  return false;
}
