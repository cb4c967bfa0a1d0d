#pragma once

#include <QCborValue>
#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVector>

#include "EntryTimes.h"
#include "EventlistHandlerEnums.h"
#include "ListEntry.h"

namespace Tavroline {

/** What one copy of a list prepares from its filter and remembers from entry to entry. */
struct CopyPass {
  TimeBound upperBound;
  TimeBound lowerBound;
  QVector<QCborValue> includeKeywords;  ///< an empty keyword is stored as undefined
  QVector<QCborValue> excludeKeywords;
  EntryTimes times;
  ListColumns columns;
};

}  // namespace Tavroline

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

  /** Accepted event types; without any every type passes. A type is stored once. [plc-task] */
  void addFilterEventType(EventlistHandlerEnums::EventType type);
  void clearFilterEventType(EventlistHandlerEnums::EventType type);
  void resetFilterEventType();

  /** Keywords, compared exactly: an entry needs one of the include list, if there are any, and none of the
   * exclude list. [plc-task] */
  void addFilterKeyword(FilterType type, const QString& keyword);
  void clearFilterKeyword(FilterType type, const QString& keyword);
  void resetFilterKeyword(FilterType type);

  /** Latest and earliest accepted time, both inclusive; null for no bound. [plc-task] */
  void setFilterDateTime(QDateTime upperBound, QDateTime lowerBound);
  void resetFilterDateTime();

  /** Removes all these criteria; those of a derived class stay. [plc-task] */
  void resetFilterAll();

  /** Whether the entry passes every criterion that is set and then the extension test. [plc-task] */
  bool checkListEntry(const QJsonObject& entry) const;

  /** The criteria alone, without the extension test, for an entry of this copy. [plc-task] */
  bool passesCriteria(Tavroline::ListEntry& entry, const Tavroline::CopyPass& pass) const;

  /** Prepares a copy with the present criteria. [plc-task] */
  Tavroline::CopyPass startCopy() const;

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
