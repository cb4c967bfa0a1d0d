#include "ReferenceReader.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QMutexLocker>
#include <QVariant>

#include <algorithm>
#include <cmath>

#include "CodesysStringCopy.h"
#include "CodesysTimeConversion.h"
#include "EventlistHandlerDefinitions.h"

namespace {

using Keys = EventlistHandlerDefinitions;

struct Criteria {
  const QList<EventlistHandlerEnums::EventType>& types;
  const QStringList& include;
  const QStringList& exclude;
  const QDateTime& upper;
  const QDateTime& lower;
};

QDateTime entryTime(const QJsonObject& entry) {
  return QDateTime::fromString(entry.value(Keys::getListColumnNameLocalTime()).toString(), Qt::ISODateWithMs);
}

bool hasOneOf(const QJsonObject& entry, const QStringList& keywords) {
  const QJsonArray carried = entry.value(Keys::getListColumnNameKeywords()).toArray();
  return std::any_of(carried.begin(), carried.end(),
                     [&](const QJsonValue& keyword) { return keywords.contains(keyword.toString()); });
}

bool passes(const Criteria& criteria, const QJsonObject& entry) {
  if (!criteria.upper.isNull() && criteria.upper < entryTime(entry)) {
    return false;
  }
  if (!criteria.lower.isNull() && entryTime(entry) < criteria.lower) {
    return false;
  }
  if (!criteria.types.isEmpty()) {
    const int type = entry.value(Keys::getListColumnNameEventType()).toInt();
    if (!criteria.types.contains(static_cast<EventlistHandlerEnums::EventType>(type))) {
      return false;
    }
  }
  if (!criteria.include.isEmpty() && !hasOneOf(entry, criteria.include)) {
    return false;
  }
  return criteria.exclude.isEmpty() || !hasOneOf(entry, criteria.exclude);
}

RTS_IEC_ULINT eventlistId(const QJsonObject& entry) {
  const QJsonValue value = entry.value(Keys::getListColumnNameEventlistId());
  const QVariant number = value.toVariant();
  if (number.userType() != QMetaType::LongLong) {
    constexpr double kBeyondInt64 = 9223372036854775808.0;
    const double inexact = value.toDouble(kBeyondInt64);
    if (!(inexact >= -kBeyondInt64 && inexact < kBeyondInt64) || inexact != std::floor(inexact)) {
      return 0;
    }
  }
  return static_cast<RTS_IEC_ULINT>(number.toLongLong()) & 0xFFFFu;
}

template <int Capacity>
void copyText(const QJsonObject& entry, const QString& key, RTS_IEC_STRING (&field)[Capacity]) {
  copyQStringDataToCStringData(entry.value(key).toString(), &field[0], Capacity, false);
}

template <int Capacity>
void copyText(const QJsonObject& entry, const QString& key, RTS_IEC_WSTRING (&field)[Capacity],
              bool freeText) {
  copyQStringDataToWStringData(entry.value(key).toString(), &field[0], Capacity, freeText);
}

template <typename Entry>
void copyCommonFields(const QJsonObject& entry, Entry& target) {
  target.iEventType = static_cast<RTS_IEC_INT>(entry.value(Keys::getListColumnNameEventType()).toInt());
  copyText(entry, Keys::getListColumnNameIconType(), target.sIconType);
  target.dtTimestamp = CodesysTimeConversion::QDateTimeToIECUtcDateTime(entryTime(entry));
  copyText(entry, Keys::getListColumnNameModuleName(), target.sModuleName);
  copyText(entry, Keys::getListColumnNameDescription(), target.wsDescription, true);
}

template <typename Entry, typename Accept, typename Fill>
std::int16_t copy(QMutex& mutex, const QJsonArray& listData, int& count, Entry* entries, int capacity,
                  Accept accept, Fill fill) {
  if (entries == nullptr) {
    return ResultError;
  }
  count = 0;
  QJsonArray list;
  {
    const QMutexLocker lock(&mutex);
    list = listData;
  }
  for (int index = 0; count < capacity && index < list.size(); ++index) {
    const QJsonObject entry = list.at(index).toObject();
    if (accept(entry)) {
      fill(entry, entries[count++]);
    }
  }
  return ResultDone;
}

}  // namespace

std::int16_t ReferenceEventlistRead::convertAsReference(int& count, stEventlistEntryType* entries,
                                                        int capacity) const {
  const Criteria criteria{m_EventTypes, m_IncludeKeywords, m_ExcludeKeywords, m_DateTimeUpperBound,
                          m_DateTimeLowerBound};
  return copy(
      sm_Mutex, m_ListData, count, entries, capacity,
      [&](const QJsonObject& entry) { return passes(criteria, entry); },
      [](const QJsonObject& entry, stEventlistEntryType& target) {
        target.uliEventlistId = eventlistId(entry);
        copyCommonFields(entry, target);
        copyText(entry, Keys::getListColumnNameUser(), target.wsUser, false);
      });
}

bool ReferenceAlarmlistRead::passesStates(const QJsonObject& entry) const {
  const auto kept = [&](std::int32_t filter, const QString& column) {
    return filter == 0 || (filter == 1) == entry.value(column).toBool();
  };
  return kept(m_iFilterStateAlarm, Keys::getListColumnNameAlarmActive()) &&
         kept(m_iFilterStateAcknowledge, Keys::getListColumnNameAlarmAcknowledgment());
}

std::int16_t ReferenceAlarmlistRead::convertAsReference(int& count, stAlarmlistEntryType* entries,
                                                        int capacity) const {
  const Criteria criteria{m_EventTypes, m_IncludeKeywords, m_ExcludeKeywords, m_DateTimeUpperBound,
                          m_DateTimeLowerBound};
  return copy(
      sm_Mutex, m_ListData, count, entries, capacity,
      [&](const QJsonObject& entry) { return passes(criteria, entry) && passesStates(entry); },
      [](const QJsonObject& entry, stAlarmlistEntryType& target) {
        target.xAlarmActive =
            static_cast<RTS_IEC_BOOL>(entry.value(Keys::getListColumnNameAlarmActive()).toBool());
        target.xAlarmAcknowledgment =
            static_cast<RTS_IEC_BOOL>(entry.value(Keys::getListColumnNameAlarmAcknowledgment()).toBool());
        copyText(entry, Keys::getListColumnNameAlarmID(), target.sAlarmID);
        copyCommonFields(entry, target);
      });
}
