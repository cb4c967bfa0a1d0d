#include "TavrolineEventlistRead.h"

#include <cstring>

#include "UnitSupport.h"

namespace {

TEST_F(ComponentTest, APartOfTheEventListIsAskedForByItsCountAlone) {
  for (const int count : {25, 65535, 0}) {
    fake::reset();
    Reader reader(kEventKind);
    loadpartofeventlist_struct part{reader.handle(), static_cast<RTS_IEC_UINT>(count), -1};
    loadpartofeventlist_ext(&part);
    EXPECT_EQ(part.iResult, TAVROLINE_BUSY);
    part.uiNumberOfEntries = 7;
    loadpartofeventlist_ext(&part);
    EXPECT_EQ(part.iResult, TAVROLINE_BUSY);
    const QVariantList expected{""_q,        QStringList(), QStringList(), QStringList(), QStringList(),
                                QDateTime(), QDateTime(),   QStringList(), count};
    ASSERT_EQ(fake::calls("getPartOfEventlist").size(), count == 0 ? 0U : 1U) << "later counts are ignored";
    ASSERT_EQ(fake::calls("getCompleteEventlist").size(), count == 0 ? 1U : 0U);
    if (count != 0) {
      EXPECT_EQ(fake::calls("getPartOfEventlist")[0].arguments, expected);
    }
  }
}

constexpr char kFill = '\x5A';

TEST_F(ComponentTest, AnEventListEntryIsWrittenToItsBytesAndNoFurther) {
  Reader reader(kEventKind);
  reader.load(R"([{"EventlistId":70000,"EventType":3,"IconType":"event-on",
      "LocalTime":"2024-05-01T12:00:00.999+02:00","ModuleName":"Pümpe","Description":"ä😀","User":"Bö",
      "Keywords":["k"],"AlarmID":"x"}])");
  std::vector<stEventlistEntryType> entries(2);
  std::memset(static_cast<void*>(entries.data()), kFill, 2 * 856);
  stGetEventlistEntriesType request{reader.handle(), entries.data(), 2, -1, -1};
  geteventlistentries_struct parameters{&request};
  geteventlistentries_ext(&parameters);
  EXPECT_EQ(request.iResult, TAVROLINE_DONE);
  EXPECT_EQ(request.diNumberOfEntries, 1);

  std::string expected(2 * 856, kFill);
  expected.replace(0, 8, std::string("\x70\x11\0\0\0\0\0\0", 8));  // 70000 - 65536 = 0x1170
  expected.replace(8, 2, std::string("\x03\0", 2));
  expected.replace(10, 9, std::string("event-on\0", 9));
  expected.replace(92, 4, "\xA0\x12\x32\x66");  // 1714557600
  expected.replace(96, 7, std::string("P\xC3\xBCmpe\0", 7));
  expected.replace(178, 8, std::string("\xE4\0\x3D\xD8\0\xDE\0\0", 8));
  expected.replace(690, 6, std::string("B\0\xF6\0\0\0", 6));
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(entries.data()), 2 * 856), expected);
}

TEST_F(ComponentTest, AnEventListEntryTakesOnlyValuesOfTheRightKind) {
  const struct {
    const char* entry;
    RTS_IEC_ULINT id;
    RTS_IEC_INT type;
    RTS_IEC_DATE_AND_TIME time;
  } rows[] = {
      {"{}", 0, 0, 0},
      {R"({"EventlistId":-1,"EventType":-1})", 65535, -1, 0},
      {R"({"EventlistId":4294967301,"EventType":65539})", 5, 3, 0},
      {R"({"EventlistId":-65537,"EventType":3.0})", 65535, 3, 0},
      {R"({"EventlistId":2.5,"EventType":2.5})", 0, 0, 0},
      {R"({"EventlistId":1e300,"EventType":1e300})", 0, 0, 0},
      {R"({"EventlistId":"7","EventType":"3"})", 0, 0, 0},
      {R"({"EventlistId":true,"EventType":true,"LocalTime":5})", 0, 0, 0},
      {R"({"LocalTime":"2106-02-07T06:28:15.000Z"})", 0, 0, 0xFFFFFFFF},
      {R"({"LocalTime":"1969-12-31T00:00:00.000Z"})", 0, 0, 0},
      {R"({"LocalTime":"2024-13-01T00:00:00.000"})", 0, 0, 0},
  };
  for (const auto& row : rows) {
    Reader reader(kEventKind);
    reader.load(QByteArray("[") + row.entry + "]");
    stEventlistEntryType entry{};
    entry.sIconType[0] = 'x';
    int count = 0;
    static_cast<TavrolineEventlistRead*>(reader.handle())->convertEventlist(count, &entry, 1);
    EXPECT_EQ(entry.uliEventlistId, row.id) << row.entry;
    EXPECT_EQ(entry.iEventType, row.type) << row.entry;
    EXPECT_EQ(entry.dtTimestamp, row.time) << row.entry;
    EXPECT_STREQ(entry.sIconType, "") << "a missing text is an empty one";
  }
}

TEST_F(ComponentTest, TextsOfAnEventListEntryAreCutToTheirFields) {
  Reader reader(kEventKind);
  const QByteArray text = '"' + QByteArray(300, 'x') + '"';
  reader.load(R"([{"IconType":)" + text + R"(,"ModuleName":)" + text + R"(,"User":)" + text +
              R"(,"Description":)" + text + "}]");
  stEventlistEntryType entry;
  std::memset(static_cast<void*>(&entry), kFill, sizeof entry);
  int count = 0;
  static_cast<TavrolineEventlistRead*>(reader.handle())->convertEventlist(count, &entry, 1);
  EXPECT_EQ(std::string(entry.sIconType), std::string(80, 'x'));
  EXPECT_EQ(std::string(entry.sModuleName), std::string(80, 'x'));
  EXPECT_EQ(QString::fromUtf16(entry.wsUser), QString(80, QLatin1Char('x')));
  EXPECT_EQ(QString::fromUtf16(entry.wsDescription), QString(255, QLatin1Char('x')));
  EXPECT_EQ(reinterpret_cast<const char*>(&entry)[91], kFill);
  EXPECT_EQ(reinterpret_cast<const char*>(&entry)[852], kFill);
}

}  // namespace
