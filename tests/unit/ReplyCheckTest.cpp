#include "ReplyCheck.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace {

TEST(ReplyCheck, FindsWhatTheParserMustNotBeGiven) {
  const auto levels = [](int count, const std::string& opening) {
    std::string text;
    for (; count > 0; --count) {
      text += opening;
    }
    return text;
  };
  const std::string deep = "is nested too deep", twice = "names a member twice", none;
  const std::string escaped = "has an escape in a member's name";
  std::string many;
  for (char name = 'a'; name < 'a' + 17; ++name) {
    many += std::string(R"(,")") + name + R"(":[])";
  }
  for (const auto& [text, fault] :
       {std::pair(levels(32, "["), none), std::pair(levels(33, "["), deep),
        std::pair(levels(17, R"({"a":[)"), deep), std::pair("[\"" + levels(40, "[") + "\"]", none),
        std::pair(levels(33, R"(["]",)"), deep), std::pair(levels(33, R"([{"b":"\"}"},)"), deep),
        std::pair(levels(33, R"(["\\",)"), deep), std::pair("[\"\\\"" + levels(40, "[") + "\"]", none),
        std::pair(levels(40, "[{}],"), none), std::pair(std::string("[\"\\"), none),
        std::pair(std::string(R"({"":[{"c":[1]},{"c":[]}],"a":{"c":{}},"c":["c"]})"), none),
        std::pair(std::string(R"({"a":1,"a":2,"b":"a","a":[]})"), none),
        std::pair(std::string(R"({"b":1,"a":{"c":[]},"d":[{}], "a" :2})"), twice),
        std::pair(std::string(R"([{"":[],"":[]}])"), twice),
        std::pair("{" + many.substr(1), std::string("has too many lists in one object")),
        std::pair(std::string(R"({"a":[],"\u0061":1})"), escaped)}) {
    const char* const found = Tavroline::ReplyCheck::fault(text.c_str());
    EXPECT_EQ(found == nullptr ? "" : found, fault) << text;
  }
}

}  // namespace
