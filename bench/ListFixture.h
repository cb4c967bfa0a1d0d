#pragma once

#include <QByteArray>

#include <vector>

#include "ReferenceReader.h"

/** The times of the entries of a list. */
struct ListTimes {
  int secondsApart;  ///< from one entry to the next
  qint64 newest;     ///< in seconds since 1970-01-01 00:00:00 UTC
};
constexpr ListTimes kEveryMinute{60, 1735689600};  // up to 2025-01-01 00:00 UTC
constexpr ListTimes kEveryHour{3600, kEveryMinute.newest};
constexpr ListTimes kWeekOfClockChange{60,
                                       1730289600};  // up to 2024-10-30 12:00 UTC, three days after a change

constexpr int kHoursOfAYear = 8760;

/**
 * A list and a reader of it, to measure loading and copying. The entries are written as by the service,
 * newest first. The filter has both bounds, types and keywords, and all entries pass it. Uses the scripted
 * platform, which answers at once.
 */
template <typename Reader, typename Entry>
class ListFixture {
 public:
  ListFixture(int entries, const ListTimes& times);

  const QByteArray& json() const { return m_json; }

  /** The first load step, which issues the request. */
  void request();
  /** The second load step, which takes the reply. */
  void load();

  /** The copy step and its reference. @return number of entries copied */
  int copy();
  int copyReference();

 private:
  QByteArray m_json;
  Reader m_reader;
  std::vector<Entry> m_entries;
};

using EventFixture = ListFixture<ReferenceEventlistRead, stEventlistEntryType>;
using AlarmFixture = ListFixture<ReferenceAlarmlistRead, stAlarmlistEntryType>;
