#pragma once

#include <string>
#include <string_view>

/**
 * Reads stored JSON in one pass, without building a document. After a fault isComplete() is false and
 * everything reads as empty. Nesting is bounded, so that a damaged row cannot exhaust the stack.
 */
class JsonReader {
 public:
  explicit JsonReader(std::string_view json) : m_rest(json) {}

  /** Whether everything was read without a fault. */
  bool isComplete() const { return m_valid && m_rest.empty(); }

  /** Read an object: `member(name)` must read or skip the value. Another value than an object is skipped. */
  template <class Member>
  void object(const Member& member) {
    container('{', '}', [&] {
      std::string name;
      string(name);
      take(':');
      member(name);
    });
  }
  /** Read an array likewise: `element()` must read or skip one value. */
  template <class Element>
  void array(const Element& element) {
    container('[', ']', element);
  }
  /** Read a string, decoded; another value is skipped and gives an empty text. */
  void string(std::string& text);
  /** Read a number; another value is skipped and gives 0. */
  int integer();
  void skip();

 private:
  static constexpr int kMaxDepth = 32;

  bool startsWith(char c) const { return !m_rest.empty() && m_rest.front() == c; }
  bool take(char c);
  void escape(std::string& text);

  template <class Element>
  void container(char open, char close, const Element& element) {
    if (!startsWith(open)) {
      return skip();
    }
    take(open);
    if (++m_depth > kMaxDepth) {
      m_valid = false;
    }
    for (bool first = true; m_valid && !startsWith(close); first = false) {
      if (first || take(',')) {
        element();
      }
    }
    take(close);
    --m_depth;
  }

  std::string_view m_rest;
  int m_depth = 0;
  bool m_valid = true;
};
