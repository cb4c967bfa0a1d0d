#include "ListFixture.h"

#include <QDateTime>

#include <cstdlib>

#include "fake_platform.h"

namespace {

/** The members that only one of the two lists has. */
template <typename Entry>
QByteArray ownMembers(int index);
template <>
QByteArray ownMembers<stEventlistEntryType>(int index) {
  return "\"EventlistId\":" + QByteArray::number(index) + R"(,"User":"operator")";
}
template <>
QByteArray ownMembers<stAlarmlistEntryType>(int index) {
  return R"("AlarmActive":true,"AlarmAcknowledgment":false,"AlarmID":"{5a1e0b7c-)" +
         QByteArray::number(index) + "}\"";
}

template <typename Entry>
QByteArray listJson(int entries, const ListTimes& times) {
  QByteArray json = R"({"ListData":[)";
  for (int i = 0; i < entries; ++i) {
    const QDateTime time = QDateTime::fromSecsSinceEpoch(times.newest - qint64(i) * times.secondsApart);
    json += (i == 0 ? "{" : ",{") + ownMembers<Entry>(i) +
            R"(,"EventType":2,"IconType":"fault-on","LocalTime":")" +
            time.toString(Qt::ISODateWithMs).toLatin1() +
            R"(","ModuleName":"PumpStation.Pump3","Description":"Pumpe 3: Druck über 4.2 bar",)"
            R"("Keywords":["north","pump","pressure"]})";
  }
  return json + "]}";
}

std::int16_t step(TavrolineEventlistRead& reader) {
  return reader.loadCompleteEventlist(0);
}
std::int16_t step(TavrolineAlarmlistRead& reader) {
  return reader.loadCompleteAlarmlist();
}
void convert(const TavrolineEventlistRead& reader, int& count, std::vector<stEventlistEntryType>& entries) {
  reader.convertEventlist(count, entries.data(), static_cast<int>(entries.size()));
}
void convert(const TavrolineAlarmlistRead& reader, int& count, std::vector<stAlarmlistEntryType>& entries) {
  reader.convertAlarmlist(count, entries.data(), static_cast<int>(entries.size()));
}

/** Ends the program if it would measure something else than its name says. */
void require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

}  // namespace

template <typename Reader, typename Entry>
ListFixture<Reader, Entry>::ListFixture(int entries, const ListTimes& times)
    : m_json(listJson<Entry>(entries, times)), m_entries(static_cast<std::size_t>(entries)) {
  m_reader.setFilterDateTime(
      QDateTime::fromSecsSinceEpoch(times.newest),
      QDateTime::fromSecsSinceEpoch(times.newest - qint64(entries) * times.secondsApart));
  m_reader.addFilterEventType(EventlistHandlerEnums::EventTypeAlarm);
  m_reader.addFilterEventType(EventlistHandlerEnums::EventTypeFault);
  m_reader.addFilterKeyword(TavrolineFilter::FilterTypeInclude, QStringLiteral("pump"));
  m_reader.addFilterKeyword(TavrolineFilter::FilterTypeExclude, QStringLiteral("test"));
  request();
  load();
  require(copy() == entries && copyReference() == entries);
}

template <typename Reader, typename Entry>
void ListFixture<Reader, Entry>::request() {
  fake::reset();
  for (const char* operation : {"getCompleteEventlist", "getCompleteAlarmlist"}) {
    fake::answer(operation, {{0, m_json}});
  }
  require(step(m_reader) == ResultBusy);
}

template <typename Reader, typename Entry>
void ListFixture<Reader, Entry>::load() {
  require(step(m_reader) == ResultDone);
}

template <typename Reader, typename Entry>
int ListFixture<Reader, Entry>::copy() {
  int count = 0;
  convert(m_reader, count, m_entries);
  return count;
}

template <typename Reader, typename Entry>
int ListFixture<Reader, Entry>::copyReference() {
  int count = 0;
  m_reader.convertAsReference(count, m_entries.data(), static_cast<int>(m_entries.size()));
  return count;
}

template class ListFixture<ReferenceEventlistRead, stEventlistEntryType>;
template class ListFixture<ReferenceAlarmlistRead, stAlarmlistEntryType>;
