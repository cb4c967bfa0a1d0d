#pragma once

#include <QByteArray>

#include <vector>

#include "ReferenceReader.h"

/**
 * A list and a reader of it for the measurements of the list path: entries as the service writes them, newest
 * first, and a filter with both bounds, types and keywords set that lets all of them pass. Stands on the
 * scripted platform, which answers at once.
 */
template <typename Reader, typename Entry>
class ListFixture {
 public:
  /** @param secondsApart local time from one entry to the next */
  ListFixture(int entries, int secondsApart);

  const QByteArray& json() const { return m_json; }

  /** The first load step; the next one finds the reply there. */
  void request();
  /** The completing load step. */
  void load();

  /** The copy step, and its plain form; both give the number of entries copied. */
  int copy();
  int copyReference();

 private:
  QByteArray m_json;
  Reader m_reader;
  std::vector<Entry> m_entries;
};

using EventFixture = ListFixture<ReferenceEventlistRead, stEventlistEntryType>;
using AlarmFixture = ListFixture<ReferenceAlarmlistRead, stAlarmlistEntryType>;

constexpr int kMinute = 60;
constexpr int kHour = 3600;
constexpr int kHoursOfAYear = 8760;
