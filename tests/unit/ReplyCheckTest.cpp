#include "ReplyCheck.h"

#include <gtest/gtest.h>

#include <QByteArray>

#include <string>

namespace {

struct Row {
  const char* name;
  QByteArray json;
  std::string fault;
};

const std::string kDeep = "is nested too deep", kTwice = "names a member twice";

const Row kRows[] = {
    {"32 levels", QByteArray("[").repeated(32), ""},
    {"33 levels", QByteArray("[").repeated(33), kDeep},
    {"34 levels, objects among them", QByteArray(R"({"a":[)").repeated(17), kDeep},
    {"siblings", QByteArray("[{}],").repeated(40), ""},
    {"brackets in a string", "[\"" + QByteArray("[").repeated(40) + "\"]", ""},
    {"brackets behind an escaped quote", "[\"\\\"" + QByteArray("[").repeated(40) + "\"]", ""},
    {"levels behind strings", QByteArray(R"([{"b":"\"}"},)").repeated(33), kDeep},
    {"levels behind an escaped backslash", QByteArray(R"(["\\",)").repeated(33), kDeep},
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
    const char* const found = Tavroline::ReplyCheck::fault(row.json.constData());
    EXPECT_EQ(found == nullptr ? "" : found, row.fault) << row.name;
  }
}

}  // namespace
