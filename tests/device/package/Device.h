#pragma once

#include <QDateTime>
#include <QStringList>
#include <QVariant>

#include <memory>

#include "Names.h"

/** Another device, to build and link against: has its own members, sizes, enumerators and texts, does
 * nothing. */
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

struct ErrorContainer {
  ErrorContainer(long, const QString&) {}
  static long getErrorCodeNoError() { return 77; }
  QString getErrorMessage() const { return {}; }
};
struct DBusPendingReply {
  using SharedPointer = std::shared_ptr<DBusPendingReply>;
  int isFinished(ErrorContainer&) { return 0; }
  QVariant getReply() { return {}; }
};
struct CodesysEventlistHandlerConnector {
  char ballast[333];
  explicit CodesysEventlistHandlerConnector(const QString&) {}
  template <typename... Rest>
  void logEvent(EventlistHandlerEnums::EventType, EventlistHandlerEnums::State, const QString&,
                const Rest&...) const {}
};

/** Writes to either list. */
struct ListWriter {
  explicit ListWriter(bool) {}
  void deleteEventlist() {}
  void acknowledgeVisualAlarm(const QStringList&, const QString&) {}
  void acknowledgeCentralDetector(const QString&) {}
};
using EventlistHandlerDBusConnectorWrite = ListWriter;
using AlarmlistHandlerDBusConnectorWrite = ListWriter;

/** Reads either list. */
struct ListReader {
  explicit ListReader(bool) {}
  template <typename... Filter>
  DBusPendingReply::SharedPointer getPartOfEventlist(const Filter&...) {
    return nullptr;
  }
  DBusPendingReply::SharedPointer getCompleteEventlist(const QString&) { return nullptr; }
  DBusPendingReply::SharedPointer getCompleteAlarmlist(const QString&) { return nullptr; }
  DBusPendingReply::SharedPointer getAlarmState(const QString&) { return nullptr; }
  bool changedFlagEventlist() { return false; }
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
  CodesysLog(void*, unsigned, int, int, int, const char*, const char*, const char*, const char*) {}
  CodesysLog& operator<<(const QVariant&) { return *this; }
};
struct CodesysTimeConversion {
  static QDateTime IECUtcDateTimeToQDateTime(unsigned) { return {}; }
  static QDateTime IECDateTimeToQDateTime(unsigned) { return {}; }
  static unsigned QDateTimeToIECUtcDateTime(const QDateTime&) { return 0; }
};
unsigned long hashFromString(const QString&);
inline void copyCStringDataToQString(const char*, int, QString&) {}
inline void copyWStringDataToQString(const unsigned short*, int, QString&) {}
inline void copyQStringDataToCStringData(const QString&, char*, short, bool) {}
inline void copyQStringDataToWStringData(const QString&, unsigned short*, short, bool) {}
