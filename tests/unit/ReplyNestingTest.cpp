#include "ReplyNesting.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace {

TEST(ReplyNesting, CountsLevelsOutsideStrings) {
  const auto levels = [](int count, const std::string& opening) {
    std::string text;
    for (; count > 0; --count)
      text += opening;
    return text;
  };
  for (const auto& [text, tooDeep] :
       {std::pair(levels(32, "["), false), std::pair(levels(33, "["), true),
        std::pair(levels(17, R"({"a":[)"), true), std::pair("[\"" + levels(40, "[") + "\"]", false),
        std::pair(levels(33, R"(["]",)"), true), std::pair(levels(33, R"({"\"}":)"), true),
        std::pair(levels(33, R"(["\\",)"), true), std::pair("[\"\\\"" + levels(40, "[") + "\"]", false),
        std::pair(levels(40, "[{}],"), false), std::pair(std::string("[\"\\"), false)})
    EXPECT_EQ(ReplyNesting::isTooDeep(text.c_str()), tooDeep) << text;
}

}  // namespace
