#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include "EventlistHandlerEnums.h"
#include "ListEntry.h"

/**
 * The selection criteria of one read handle, and the test of one list entry against them. A new filter passes
 * every entry; criteria stay until they are changed. Takes no lock: a filter belongs to the one task of its
 * handle.
 */
class TavrolineFilter {
 public:
  /** Selects a keyword list; any value but FilterTypeInclude means the exclude list. */
  enum FilterType : int { FilterTypeInclude = 0, FilterTypeExclude = 1 };

  TavrolineFilter() = default;
  virtual ~TavrolineFilter();
  TavrolineFilter(const TavrolineFilter&) = delete;
  TavrolineFilter& operator=(const TavrolineFilter&) = delete;

  /** Accepted event types; with none every type passes. A type is kept once. [plc-task] */
  void addFilterEventType(EventlistHandlerEnums::EventType type);
  void clearFilterEventType(EventlistHandlerEnums::EventType type);
  void resetFilterEventType();

  /** Keywords, compared exactly: an entry needs one of the include list and none of the exclude list.
   * [plc-task] */
  void addFilterKeyword(FilterType type, const QString& keyword);
  void clearFilterKeyword(FilterType type, const QString& keyword);
  void resetFilterKeyword(FilterType type);

  /** Latest and earliest accepted time, both inclusive; a null one is no bound. [plc-task] */
  void setFilterDateTime(QDateTime upperBound, QDateTime lowerBound);
  void resetFilterDateTime();

  /** Back to a filter without these criteria; what a derived class adds stays. [plc-task] */
  void resetFilterAll();

  /** Whether the entry passes every criterion that is set, and the extension test last. [plc-task] */
  bool checkListEntry(const QJsonObject& entry) const;

  /** The criteria alone, without the extension test, for an entry of listCopy(). [plc-task] */
  bool passesCriteria(ListEntry& entry) const;

  /** What a copy under the present criteria starts with. [plc-task] */
  ListCopy listCopy() const;

  /** Extension test of a derived class; this one passes everything. [plc-task] */
  virtual bool additionalFilterCheck(const QJsonObject& entry) const;

 protected:
  QList<EventlistHandlerEnums::EventType> m_EventTypes;
  QStringList m_IncludeKeywords;
  QStringList m_ExcludeKeywords;
  QDateTime m_DateTimeUpperBound;
  QDateTime m_DateTimeLowerBound;

 private:
  QStringList& keywords(FilterType type);
};
