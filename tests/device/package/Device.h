#pragma once

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QVariant>

#include <algorithm>
#include <memory>

#include "Names.h"

/** Another device: keeps one list in memory; has its own members, sizes, enumerators and texts. */
typedef unsigned char RTS_IEC_BOOL;
typedef short RTS_IEC_INT;
typedef unsigned short RTS_IEC_UINT, RTS_IEC_WSTRING;
typedef int RTS_IEC_DINT;
typedef unsigned long long RTS_IEC_ULINT;
typedef char RTS_IEC_STRING;
typedef unsigned RTS_IEC_DATE_AND_TIME, RTS_RESULT;
struct __ARRAY__DIM__INFO {
  RTS_IEC_DINT lower, upper;
};
extern "C" unsigned long (*pfLogAdd)(void*, unsigned, int, int, int, const char*, ...);
extern "C" void *pfCMUtlMemCpy, *pfCMUtlSafeStrCpy, *pfSysFileOpen, *pfSysFileRead, *pfSysFileWrite,
    *pfSysFileClose;

struct EventsDBusDefinitions : EventKeys {
  enum class TextSource : char { Caller, Catalogue };
};
struct EventlistHandlerEnums {
  enum class EventType : short { Warning, Journal, Trouble, Note };
  enum class State : short { Plain, Comes, Goes };
};

/** The list, newest first. */
extern QJsonArray deviceList;

struct ErrorContainer {
  ErrorContainer(long, const QString&) {}
  static long getErrorCodeNoError() { return 77; }
  QString getErrorMessage() const { return QString(); }
};
struct DBusPendingReply {
  using SharedPointer = std::shared_ptr<DBusPendingReply>;
  int isFinished(ErrorContainer&) { return 0; }
  QVariant getReply() {
    return QJsonDocument(QJsonObject{{EventlistHandlerDefinitions::getListDataName(), deviceList}}).toJson();
  }
};
struct CodesysEventlistHandlerConnector {
  char ballast[333];
  explicit CodesysEventlistHandlerConnector(const QString&) {}
  template <typename... Rest>
  void logEvent(EventlistHandlerEnums::EventType type, EventlistHandlerEnums::State, const QString& icon,
                const QString&, const QDateTime&, const QVariantMap& description, const Rest&...) const {
    const QVariant text = description[EventsDBusDefinitions::getEventDBusKeyObjectName()];
    deviceList.prepend(
        QJsonObject{{EventlistHandlerDefinitions::getListColumnNameEventType(), int(type)},
                    {EventlistHandlerDefinitions::getListColumnNameIconType(), icon},
                    {EventlistHandlerDefinitions::getListColumnNameDescription(), text.toString()}});
  }
};

/** Writes to either list; acknowledges nothing. */
struct ListWriter {
  explicit ListWriter(bool) {}
  void deleteEventlist() { deviceList = {}; }
  void acknowledgeVisualAlarm(const QStringList&, const QString&) {}
  void acknowledgeCentralDetector(const QString&) {}
};
using EventlistHandlerDBusConnectorWrite = ListWriter;
using AlarmlistHandlerDBusConnectorWrite = ListWriter;

/** Reads either list. This device has no alarms: requests return null, no flag changes. */
struct ListReader {
  QJsonArray seen;
  explicit ListReader(bool) {}
  template <typename... Filter>
  auto getPartOfEventlist(const Filter&...) {
    return std::make_shared<DBusPendingReply>();
  }
  auto getCompleteEventlist(const QString& language) { return getPartOfEventlist(language); }
  bool changedFlagEventlist() { return std::exchange(seen, deviceList) != deviceList; }
  DBusPendingReply::SharedPointer getCompleteAlarmlist(const QString&) { return nullptr; }
  DBusPendingReply::SharedPointer getAlarmState(const QString&) { return nullptr; }
  bool changedFlagAlarmlist() { return false; }
  bool changedFlagAlarmInAlarmlist(bool&) { return false; }
  bool changedFlagActiveAlarmInAlarmlist(bool&) { return false; }
  bool changedFlagFaultInAlarmlist(bool&) { return false; }
  bool changedFlagActiveFaultInAlarmlist(bool&) { return false; }
  bool changedFlagCentralDetector(bool&) { return false; }
};
using EventlistHandlerDBusConnectorRead = ListReader;
using AlarmlistHandlerDBusConnectorRead = ListReader;

struct CodesysLog {
  unsigned id;
  CodesysLog(void*, unsigned component, int, int, int, const char*, const char*, const char*, const char*)
      : id(component) {}
  CodesysLog& operator<<(const QVariant& item) {
    pfLogAdd(nullptr, id, 2, 0, 0, "%s", item.toString().toUtf8().constData());
    return *this;
  }
};
struct CodesysTimeConversion {
  static QDateTime IECUtcDateTimeToQDateTime(unsigned value) { return QDateTime::fromSecsSinceEpoch(value); }
  static QDateTime IECDateTimeToQDateTime(unsigned value) { return QDateTime::fromSecsSinceEpoch(value); }
  static auto QDateTimeToIECUtcDateTime(const QDateTime& time) { return unsigned(time.toSecsSinceEpoch()); }
};
inline unsigned long hashFromString(const QString& text) {
  return unsigned(text.size());
}
inline void copyCStringDataToQString(const char* source, int length, QString& target) {
  target = QString::fromLatin1(source, length);
}
inline void copyWStringDataToQString(const unsigned short* source, int length, QString& target) {
  target = QString::fromUtf16(source, length);
}
inline void copyQStringDataToCStringData(const QString& source, char* target, short capacity, bool) {
  qstrncpy(target, source.toLatin1().constData(), unsigned(capacity));
}
inline void copyQStringDataToWStringData(const QString& source, unsigned short* target, short, bool) {
  *std::copy_n(source.utf16(), source.size(), target) = 0;
}
