#include "CodesysStringCopy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

constexpr std::size_t kRoom = 8;

struct WriteRow {
  const char* name;
  std::u16string text;
  short capacity;
  std::string bytes;     // the STRING as written, '#' where the buffer must stay as it was
  std::u16string units;  // the WSTRING likewise
  bool bytesFit;
  bool unitsFit;
};

const WriteRow kWriteRows[] = {
    {"negative capacity", u"a", -1, "########", u"########", false, false},
    {"no capacity", u"a", 0, "########", u"########", false, false},
    {"terminator only", u"a", 1, {"\0#######", 8}, {u"\0#######", 8}, false, false},
    {"empty text", u"", 1, {"\0#######", 8}, {u"\0#######", 8}, true, true},
    {"one short", u"abc", 3, {"ab\0#####", 8}, {u"ab\0#####", 8}, false, false},
    {"exact", u"abc", 4, {"abc\0####", 8}, {u"abc\0####", 8}, true, true},
    {"one to spare", u"abc", 5, {"abc\0####", 8}, {u"abc\0####", 8}, true, true},
    {"no part of a sequence", u"aä", 3, {"a\0######", 8}, {u"aä\0#####", 8}, false, true},
    {"no half pair", u"a\U0001F600", 3, {"a\0######", 8}, {u"a\0######", 8}, false, false},
    {"whole pair", u"a\U0001F600", 6, {"a\xF0\x9F\x98\x80\0##", 8}, {u"a\U0001F600\0####", 8}, true, true},
    {"lone surrogate", {u"\xDC00", 1}, 4, {"\xEF\xBF\xBD\0####", 8}, {u"\uFFFD\0######", 8}, true, true},
    {"byte order mark",
     u"\uFEFFa",
     5,
     {"\xEF\xBB\xBF"
      "a\0###",
      8},
     {u"\uFEFFa\0#####", 8},
     true,
     true},
    {"embedded NUL ends it", {u"a\0b", 3}, 8, {"a\0######", 8}, {u"a\0######", 8}, false, false},
};

TEST(CodesysStringCopy, WritesWhatFitsAndNothingBehindIt) {
  for (const WriteRow& row : kWriteRows) {
    SCOPED_TRACE(row.name);
    const QString text = QString(reinterpret_cast<const QChar*>(row.text.data()), int(row.text.size()));
    std::string bytes(kRoom, '#');
    EXPECT_EQ(copyQStringDataToCStringData(text, bytes.data(), row.capacity, false), row.bytesFit);
    EXPECT_EQ(bytes, row.bytes);
    unsigned short units[kRoom];
    std::fill_n(units, kRoom, u'#');
    EXPECT_EQ(copyQStringDataToWStringData(text, units, row.capacity, true), row.unitsFit);
    EXPECT_TRUE(std::equal(row.units.begin(), row.units.end(), units, units + kRoom));
  }
  EXPECT_FALSE(copyQStringDataToCStringData(QStringLiteral("a"), nullptr, 8, false));
  EXPECT_FALSE(copyQStringDataToWStringData(QStringLiteral("a"), nullptr, 8, false));
}

struct ReadRow {
  const char* name;
  const char* bytes;
  std::u16string units;
  int length;
  std::u16string expected;
};

const ReadRow kReadRows[] = {
    {"up to the terminator", "Pump", u"Pump", -1, u"Pump"},
    {"a part", "Pump", u"Pump", 2, u"Pu"},
    {"no character", "Pump", u"Pump", 0, u""},
    {"terminator before the length", "Pu", u"Pu", 9, u"Pu"},
    {"beyond the first plane", "\xF0\x9F\x98\x80", u"\U0001F600", -1, u"\U0001F600"},
    {"byte order marks stay", "\xEF\xBB\xBF\xEF\xBB\xBFx", u"\uFEFF\uFEFFx", -1, u"\uFEFF\uFEFFx"},
    {"swapped byte order mark stays", "\xEF\xBF\xBEx", {u"\xFFFEx", 2}, -1, {u"\xFFFEx", 2}},
    {"malformed",
     "a\xFF"
     "b",
     {u"a\xD800"
      u"b",
      3},
     -1,
     u"a\uFFFDb"},
    {"incomplete at the end", "a\xC3", {u"a\xD83D", 2}, -1, u"a\uFFFD"},
};

TEST(CodesysStringCopy, ReadsBothEncodingsAlike) {
  for (const ReadRow& row : kReadRows) {
    SCOPED_TRACE(row.name);
    const QString expected(reinterpret_cast<const QChar*>(row.expected.data()), int(row.expected.size()));
    QString text = QStringLiteral("old");
    copyCStringDataToQString(row.bytes, row.length, text);
    EXPECT_EQ(text, expected);
    copyWStringDataToQString(reinterpret_cast<const unsigned short*>(row.units.c_str()), row.length, text);
    EXPECT_EQ(text, expected);
  }
}

TEST(CodesysStringCopy, ClearsTheTargetForANullSource) {
  QString text = QStringLiteral("old");
  copyCStringDataToQString(nullptr, -1, text);
  EXPECT_TRUE(text.isEmpty());
  text = QStringLiteral("old");
  copyWStringDataToQString(nullptr, 5, text);
  EXPECT_TRUE(text.isEmpty());
}

}  // namespace
