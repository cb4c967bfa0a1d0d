#include "TavrolineEventlistRead.h"

#include <cstring>

#include "UnitSupport.h"

namespace {

TEST_F(ComponentTest, APartOfTheEventListIsAskedForByItsCountAlone) {
  const QStringList none;
  for (const int count : {25, 65535, 0}) {
    fake::reset();
    const Reader reader(kEventKind);
    EXPECT_EQ(call<loadpartofeventlist_ext>(reader.handle, count).iResult, TAVROLINE_BUSY);
    EXPECT_EQ(call<loadpartofeventlist_ext>(reader.handle, 7).iResult, TAVROLINE_BUSY);
    ASSERT_EQ(fake::calls("getPartOfEventlist").size(), count == 0 ? 0U : 1U) << "later counts are ignored";
    ASSERT_EQ(fake::calls("getCompleteEventlist").size(), count == 0 ? 1U : 0U);
    if (count == 0) continue;
    EXPECT_EQ(fake::calls("getPartOfEventlist")[0].arguments,
              (QVariantList{""_q, none, none, none, none, QDateTime(), QDateTime(), none, count}));
  }
}

constexpr char kFill = '\x5A';

/** Load these entries and copy them into a filled array, whose bytes are returned. */
std::string copied(const QByteArray& entries, std::size_t elements) {
  const Reader reader(kEventKind);
  reader.load(entries);
  std::vector<stEventlistEntryType> array(elements);
  std::memset(static_cast<void*>(array.data()), kFill, elements * sizeof array[0]);
  stGetEventlistEntriesType request{reader.handle, array.data(), int(elements), -1, -1};
  call<geteventlistentries_ext>(&request);
  EXPECT_EQ(request.iResult, TAVROLINE_DONE);
  EXPECT_EQ(request.diNumberOfEntries, 1);
  return std::string(reinterpret_cast<const char*>(array.data()), elements * sizeof array[0]);
}

TEST_F(ComponentTest, AnEventListEntryIsWrittenToItsBytesAndNoFurther) {
  const QByteArray text(300, 'x');
  std::string expected(std::size_t{2} * 856, kFill);
  expected.replace(0, 8, std::string("\x70\x11\0\0\0\0\0\0", 8));  // 70000 - 65536 = 0x1170
  expected.replace(8, 11, std::string("\x03\0event-on\0", 11));
  expected.replace(92, 4, "\xA0\x12\x32\x66");            // 1714557600
  expected.replace(96, 81, std::string(80, 'x') + '\0');  // cut to their fields, as the user below
  expected.replace(178, 8, std::string("\xE4\0\x3D\xD8\0\xDE\0\0", 8));
  for (std::size_t i = 690; i < 852; ++i)
    expected[i] = i % 2 == 0 && i < 850 ? 'x' : '\0';
  EXPECT_EQ(copied(R"([{"EventlistId":70000,"EventType":3,"IconType":"event-on","ModuleName":")" + text +
                       R"(","User":")" + text + R"(",
                       "LocalTime":"2024-05-01T12:00:00.999+02:00","Description":"ä😀","Keywords":["k"]}])",
                   2),
            expected);
}

TEST_F(ComponentTest, AnEventListEntryTakesOnlyValuesOfTheRightKind) {
  const std::tuple<const char*, unsigned int, int, unsigned int> rows[] = {
      {R"({})", 0, 0, 0},
      {R"({"EventlistId":-1,"EventType":-1})", 65535, -1, 0},
      {R"({"EventlistId":4294967301,"EventType":65539})", 5, 3, 0},
      {R"({"EventlistId":2.5,"EventType":2.5})", 0, 0, 0},
      {R"({"EventlistId":1e300,"EventType":1e300})", 0, 0, 0},
      {R"({"EventlistId":"7","EventType":"3"})", 0, 0, 0},
      {R"({"EventlistId":true,"EventType":true,"LocalTime":5})", 0, 0, 0},
      {R"({"LocalTime":"2106-02-07T06:28:15.000Z"})", 0, 0, 0xFFFFFFFF},
      {R"({"LocalTime":"2024-13-01T00:00:00.000"})", 0, 0, 0}};
  for (const auto& [json, id, type, time] : rows) {
    stEventlistEntryType entry;
    std::memcpy(static_cast<void*>(&entry), copied(QByteArray("[") + json + "]", 1).data(), sizeof entry);
    EXPECT_EQ(entry.uliEventlistId, id) << json;
    EXPECT_EQ(entry.iEventType, type) << json;
    EXPECT_EQ(entry.dtTimestamp, time) << json;
    EXPECT_STREQ(entry.sIconType, "") << "a missing text is an empty one";
  }
}

}  // namespace
