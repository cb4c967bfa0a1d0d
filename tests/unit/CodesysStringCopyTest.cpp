#include "CodesysStringCopy.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace std::string_literals;

struct Row {
  const char* name;
  std::u16string text;
  short capacity;
  std::string bytes;     ///< the STRING buffer afterwards; '#' where nothing was written
  std::u16string units;  ///< the WSTRING buffer afterwards
  bool bytesFit;
  bool unitsFit;
};

const Row kRows[] = {
    {"negative capacity", u"a", -1, "####", u"####", false, false},
    {"one too long", u"abc", 3, "ab\0#"s, u"ab\0#"s, false, false},
    {"just fits", u"abc", 4, "abc\0#"s, u"abc\0#"s, true, true},
    {"two bytes, one unit", u"aä", 3, "a\0##"s, u"aä\0#"s, false, true},
    {"four bytes, two units", u"a😀", 3, "a\0##"s, u"a\0##"s, false, false},
    {"lone surrogate", u"a\xDC00y", 6, "a\uFFFDy\0#"s, u"a\uFFFDy\0##"s, true, true},
    {"byte order mark", u"\uFEFFa", 5, "\uFEFFa\0#"s, u"\uFEFFa\0#"s, true, true},
    {"embedded U+0000", u"a\0b"s, 4, "a\0##"s, u"a\0##"s, false, false},
};

TEST(CodesysStringCopy, WritesWhatFitsAndNothingBehindIt) {
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.name);
    const QString source(reinterpret_cast<const QChar*>(row.text.data()), int(row.text.size()));
    std::string bytes(row.bytes.size(), '#');
    EXPECT_EQ(copyQStringDataToCStringData(source, bytes.data(), row.capacity, false), row.bytesFit);
    EXPECT_EQ(bytes, row.bytes);
    std::u16string units(row.units.size(), u'#');
    auto* const target = reinterpret_cast<unsigned short*>(units.data());
    EXPECT_EQ(copyQStringDataToWStringData(source, target, row.capacity, true), row.unitsFit);
    EXPECT_EQ(units, row.units);
  }
  EXPECT_FALSE(copyQStringDataToCStringData(QStringLiteral("a"), nullptr, 8, false));
  EXPECT_FALSE(copyQStringDataToWStringData(QStringLiteral("a"), nullptr, 8, false));
}

TEST(CodesysStringCopy, ReadsUpToTheTerminatorOrTheLengthAndReplacesWhatIsMalformed) {
  const unsigned short units[] = {0xFEFF, 'a', 0xDC00, 'b', 0, 'c'};
  QString bytesText, unitsText;
  copyCStringDataToQString("\uFEFFa\xFFz\0y", -1, bytesText);
  copyWStringDataToQString(units, -1, unitsText);
  EXPECT_EQ(bytesText, QString(QChar(0xFEFF)) + QStringLiteral("a\uFFFDz"));
  EXPECT_EQ(unitsText, QString(QChar(0xFEFF)) + QStringLiteral("a\uFFFDb"));
  copyCStringDataToQString("abc", 2, bytesText);
  copyWStringDataToQString(units, 2, unitsText);
  EXPECT_EQ(bytesText + unitsText, QStringLiteral("ab") + QChar(0xFEFF) + QLatin1Char('a'));
}

}  // namespace
