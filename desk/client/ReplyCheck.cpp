#include "ReplyCheck.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <vector>

namespace Tavroline {

namespace {

/** @param position the first character after a string's opening quote. @return the first character after the
 * string's closing quote; the terminator of the text if the closing quote is missing. */
const char* behindString(const char* position) {
  for (;;) {
    position += std::strcspn(position, "\"\\");
    if (*position == '\0') {
      return position;
    }
    if (*position++ == '"') {
      return position;
    }
    if (*position != '\0') {
      ++position;  // the escaped character
    }
  }
}

/** Reads a text once, up to its first fault. */
class Scan {
 public:
  explicit Scan(const char* json) : m_position(json) {}

  const char* fault() {
    const char* found = nullptr;
    while (found == nullptr && *m_position != '\0') {
      const char character = *m_position++;
      if (character == '"') {
        found = passString();
      } else if (character == '[' || character == '{') {
        found = open();
      } else if (character == ']' || character == '}') {
        if (m_depth > 0) {
          --m_depth;
        }
      } else if (character == ',') {
        m_name = {};
      }
    }
    return found;
  }

 private:
  using Names = std::vector<std::string_view>;

  /**
   * Skip a string. If a colon follows the string, the string is a member's name and becomes m_name.
   * @return the fault of the name: it has an escape, or an earlier member of the same object has this name
   * and holds an array or object; null if the name has no fault or the string is no name
   */
  const char* passString() {
    const char* const content = m_position;
    m_position = behindString(content);
    if (m_position[std::strspn(m_position, " \t\n\r")] != ':') {
      return nullptr;
    }
    m_name = std::string_view(content, static_cast<std::size_t>(m_position - content));
    if (m_name.find('\\') != std::string_view::npos) {
      return "has an escape in a member's name";
    }
    const Names& seen = m_containers[m_depth];
    return std::find(seen.begin(), seen.end(), m_name) != seen.end() ? "names a member twice" : nullptr;
  }

  const char* open() {
    if (m_depth == ReplyCheck::kDeepest) {
      return "is nested too deep";
    }
    if (!m_name.empty()) {
      Names& seen = m_containers[m_depth];
      if (seen.size() == ReplyCheck::kMostContainers) {
        return "has too many arrays and objects in one object";
      }
      seen.push_back(m_name);
    }
    m_name = {};
    m_containers[++m_depth].clear();
    return nullptr;
  }

  const char* m_position;
  /** Name and closing quote of the member whose value follows; empty if the next value has no name. */
  std::string_view m_name;
  std::size_t m_depth = 0;
  /** For each object that is open, by its depth: the names of its members that hold an array or object. */
  std::array<Names, ReplyCheck::kDeepest + 1> m_containers;
};

}  // namespace

const char* ReplyCheck::fault(const char* json) {
  return Scan(json).fault();
}

}  // namespace Tavroline
