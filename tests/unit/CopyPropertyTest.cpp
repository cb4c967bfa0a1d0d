#include <QRegularExpression>

#include <array>
#include <ctime>
#include <random>
#include <set>
#include <utility>

#include "CodesysTimeConversion.h"
#include "ReferenceReader.h"
#include "UnitSupport.h"

namespace {

constexpr int kEntries = 160;  // times 23 zones and 32 filters: 117,760 of each list
constexpr char kZones[] =
    "UTC Europe/Berlin Eire Turkey EST5EDT America/Caracas America/Noronha America/St_Johns America/Recife "
    "Iran Africa/Casablanca Asia/Gaza Asia/Kathmandu Pacific/Apia Australia/Lord_Howe Kwajalein "
    "Pacific/Chatham Antarctica/Casey Antarctica/Troll Antarctica/Vostok "
    "AAA0BBB,J100/0,J100/3 AAA0BBB,J100/0,J102/0 EST5EDT,0/0,J365/25";

QDateTime parsed(const QByteArray& text) {
  return QDateTime::fromString(QString::fromUtf8(text), Qt::ISODateWithMs);
}

/** Random lists and filters, the same in every run; times crowd around the changes of the zone. */
struct CopyPropertyTest : ComponentTest, testing::WithParamInterface<QByteArray> {
  CopyPropertyTest() {
    readings[0] = {0};  // of what is no entry
    qputenv("TZ", ":" + GetParam());
    constexpr std::time_t kHour = 3600;
    long offset = 0;
    for (std::time_t instant = 0; instant < 0x7FFFFFFF - kHour; instant += kHour) {
      const long present = std::localtime(&instant)->tm_gmtoff;
      if (std::exchange(offset, present) != present) {
        changes << instant + present;
      }
    }
  }
  int below(int bound) { return static_cast<int>(engine() % static_cast<unsigned>(bound)); }
  QByteArray oneOf(const QByteArrayList& list) { return list[below(list.size())]; }

  QByteArray timeText() {
    qint64 wall = below(0x7FFFFFFF) - 100 * qint64{below(50000)};
    if (!changes.isEmpty() && below(4) != 0) {
      wall = changes[below(changes.size())] + qint64{below(241) - 120} * 180;
    }
    const QDateTime time = QDateTime::fromMSecsSinceEpoch(wall * 1000 + below(1000), Qt::UTC);
    QByteArray text = time.toString(Qt::ISODateWithMs).toLatin1().left(23);
    if (below(8) == 0) {
      return text.replace(8, 2, oneOf({"29", "30", "31"}));
    }
    if (below(4) != 0) {
      return text;
    }
    return text.replace(below(24), below(24), oneOf({"", "9", "-", "T", ",", "ä", "Z", "+02:00", "T24:00"}));
  }
  QByteArray entry(std::size_t index) {
    const QByteArray time = below(32) == 0 ? "" : timeText();
    const QByteArray text =
        '"' + oneOf({"", "a", "ä\\ud83d", "\\u0000"}) + QByteArray(below(3) * 99, 'x') + '"';
    const QByteArray other = oneOf({"null", "true", "false", "5", "[1]", "{}", text});
    const QByteArray number = oneOf({"0", "2", "3.0", "2.5", "-1", "70000", "4294967299", "1e300", other});
    QByteArray form = R"("EventlistId":#,"EventType":#,"User":@,"AlarmID":@,"AlarmActive":@,)"
                      R"("AlarmAcknowledgment":@,"IconType":$,"Description":$,"X":$)";
    QByteArrayList members = form.replace('#', number).replace('@', other).replace('$', text).split(',');
    std::shuffle(members.begin(), members.end(), engine);
    members = members.mid(qMax(0, below(36) - 27))
              << "\"Keywords\":" + oneOf({other, "[" + text + "]", "[\"a\",5," + text + "]"});
    members << "\"LocalTime\":" + (time.isEmpty() ? other : '"' + time + '"');
    members << "\"ModuleName\":\"" + QByteArray::number(int(index)) + '"';
    readings[index].clear();
    for (const qint64 hours : {-24, -4, -1, 1, 4, 24}) {
      const QDateTime at = QDateTime(parsed(time).date(), parsed(time).time(), Qt::UTC).addSecs(hours * 3600);
      const QDateTime beside(at.date(), at.time());
      readings[index].insert(CodesysTimeConversion::QDateTimeToIECUtcDateTime(parsed(time)));
    }
    return below(32) == 0 ? other : '{' + members.join(',') + '}';
  }
  /** The bytes copied. A time must be what Qt reads; a repeated one has two readings and is left out. */
  template <typename Entry, typename Reader, typename Convert>
  Lines copied(const Reader& reader, Convert convert) {
    std::vector<Entry> entries(kEntries);
    int count = 0;
    (reader.*convert)(count, entries.data(), kEntries);
    entries.resize(std::size_t(count));
    Lines lines;
    for (const Entry& entry : entries) {
      const std::set<unsigned>& possible = readings[QByteArray(entry.sModuleName).toUInt()];
      EXPECT_EQ(possible.count(entry.dtTimestamp), 1U);
      if (possible.size() == 1) {
        lines.emplace_back(reinterpret_cast<const char*>(&entry), sizeof entry);
      }
    }
    return lines;
  }
  template <typename Entry, typename Reader, typename Convert>
  void compare(int filter, Reader& reader, Convert convert) {
    if (filter & 1) {
      reader.addFilterEventType(EventlistHandlerEnums::EventTypeFault);
    }
    if (filter & 2) {
      reader.addFilterKeyword(Reader::FilterTypeInclude, "a"_q);
    }
    if (filter & 4) {
      reader.addFilterKeyword(Reader::FilterTypeExclude, filter & 2 ? ""_q : "ä\uFFFD"_q);
    }
    const auto bound = [&](int bit) { return filter & bit ? parsed(timeText()) : QDateTime(); };
    reader.setFilterDateTime(bound(8), bound(16));
    EXPECT_EQ(copied<Entry>(reader, convert), copied<Entry>(reader, &Reader::convertAsReference));
  }

  std::mt19937 engine{1};
  QVector<qint64> changes;  ///< local times at changes of the offset, to the hour
  /** The entry's time by its module name, converted after times before it and behind it. */
  std::array<std::set<unsigned>, kEntries + 1> readings;
};

TEST_P(CopyPropertyTest, GivesTheBytesOfTheReference) {
  for (int filter = 0; filter < 32; ++filter) {
    QByteArrayList list;
    for (std::size_t i = 1; i <= kEntries; ++i) {
      list << entry(i);
    }
    for (const char* request : {"getCompleteEventlist", "getCompleteAlarmlist"}) {
      fake::answer(request, {{0, "{\"ListData\":[" + list.join(',') + "]}"}});
    }
    ReferenceEventlistRead events;
    ReferenceAlarmlistRead alarms;
    for (const int result : {ResultBusy, ResultDone}) {
      EXPECT_TRUE(events.loadCompleteEventlist(0) == result && alarms.loadCompleteAlarmlist() == result);
    }
    if (filter % 3 != 0) {
      alarms.setFilterStateAlarm(filter % 3 == 1);
    }
    if (filter % 5 > 2) {
      alarms.setFilterStateAcknowledge(filter % 5 == 3);
    }
    compare<stEventlistEntryType>(filter, events, &TavrolineEventlistRead::convertEventlist);
    compare<stAlarmlistEntryType>(filter, alarms, &TavrolineAlarmlistRead::convertAlarmlist);
  }
}
INSTANTIATE_TEST_SUITE_P(In, CopyPropertyTest, testing::ValuesIn(QByteArray(kZones).split(' ')),
                         [](const auto& zone) {
                           const QString name = QString::fromLatin1(zone.param);
                           return QString(name).replace(QRegularExpression("\\W"_q), "_"_q).toStdString();
                         });

}  // namespace
