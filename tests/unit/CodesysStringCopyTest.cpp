#include "CodesysStringCopy.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace {

using namespace std::string_literals;

TEST(CodesysStringCopy, WritesWhatFitsAndNothingBehindIt) {
  // text, capacity, STRING and WSTRING as written ('#' where the buffer stays as it was), whether they fitted
  using Row = std::tuple<std::u16string, short, std::string, std::u16string, bool, bool>;
  for (const auto& [text, capacity, expectedBytes, expectedUnits, bytesFit, unitsFit] :
       {Row{u"a", -1, "########", u"########", false, false},
        Row{u"abc", 3, "ab\0#####"s, u"ab\0#####"s, false, false},
        Row{u"abc", 4, "abc\0####"s, u"abc\0####"s, true, true},
        Row{u"aä", 3, "a\0######"s, u"aä\0#####"s, false, true},
        Row{u"a😀", 3, "a\0######"s, u"a\0######"s, false, false},
        Row{u"\xDC00", 4, "\uFFFD\0####"s, u"\uFFFD\0######"s, true, true},
        Row{u"\uFEFFa", 5, "\uFEFFa\0###"s, u"\uFEFFa\0#####"s, true, true},
        Row{u"ab\xDC00ghijk", 12, "ab\uFFFDghijk\0#"s, u"ab\uFFFDghijk\0#"s, true, true},
        Row{u"abcde\xDC00gh", 12, "abcde\uFFFDgh\0#"s, u"abcde\uFFFDgh\0#"s, true, true},
        Row{u"a\0b"s, 8, "a\0######"s, u"a\0######"s, false, false}}) {
    const QString source(reinterpret_cast<const QChar*>(text.data()), int(text.size()));  // keeps a mark
    std::string bytes(expectedBytes.size(), '#');
    EXPECT_EQ(copyQStringDataToCStringData(source, bytes.data(), capacity, false), bytesFit);
    EXPECT_EQ(bytes, expectedBytes);
    std::u16string units(expectedUnits.size(), u'#');
    auto* const target = reinterpret_cast<unsigned short*>(units.data());
    EXPECT_EQ(copyQStringDataToWStringData(source, target, capacity, true), unitsFit);
    EXPECT_EQ(units, expectedUnits);
  }
  EXPECT_FALSE(copyQStringDataToCStringData(QStringLiteral("a"), nullptr, 8, false));
  EXPECT_FALSE(copyQStringDataToWStringData(QStringLiteral("a"), nullptr, 8, false));
}

}  // namespace
