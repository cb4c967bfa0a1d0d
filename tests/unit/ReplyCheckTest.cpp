#include "ReplyCheck.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string repeat(int count, const std::string& text) {
  return count == 0 ? std::string() : text + repeat(count - 1, text);
}

struct Row {
  const char* name;
  std::string json;
  std::string fault;
};

const std::string kDeep = "is nested too deep", kTwice = "names a member twice";

const Row kRows[] = {
    {"32 levels", repeat(32, "["), ""},
    {"33 levels", repeat(33, "["), kDeep},
    {"34 levels, objects among them", repeat(17, R"({"a":[)"), kDeep},
    {"siblings", repeat(40, "[{}],"), ""},
    {"brackets in a string", "[\"" + repeat(40, "[") + "\"]", ""},
    {"brackets behind an escaped quote", "[\"\\\"" + repeat(40, "[") + "\"]", ""},
    {"levels behind strings", repeat(33, R"([{"b":"\"}"},)"), kDeep},
    {"levels behind an escaped backslash", repeat(33, R"(["\\",)"), kDeep},
    {"ends in an escape", "[\"\\", ""},
    {"equal names in different objects", R"({"":[{"c":[1]},{"c":[]}],"a":{"c":{}},"c":["c"]})", ""},
    {"a number named again", R"({"a":1,"a":2,"b":"a","a":[]})", ""},
    {"an object named again", R"({"b":1,"a":{"c":[]},"d":[{}], "a" :2})", kTwice},
    {"an empty name again", R"([{"":[],"":[]}])", kTwice},
    {"a name with an escape", R"({"a":[],"\u0061":1})", "has an escape in a member's name"},
    {"17 arrays in one object",
     R"({"a":[],"b":[],"c":[],"d":[],"e":[],"f":[],"g":[],"h":[],"i":[],"j":[],"k":[],"l":[],"m":[],"n":[],)"
     R"("o":[],"p":[],"q":[]})",
     "has too many arrays and objects in one object"},
};

TEST(ReplyCheck, FindsWhatTheParserMustNotBeGiven) {
  for (const Row& row : kRows) {
    const char* const found = Tavroline::ReplyCheck::fault(row.json.c_str());
    EXPECT_EQ(found == nullptr ? "" : found, row.fault) << row.name;
  }
}

}  // namespace
