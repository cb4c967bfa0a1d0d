#include "ExternalFunction.h"
#include "IecMemory.h"
#include "LogEntry.h"
#include "TavrolineAlarmHandler.h"
#include "TavrolineAlarmlistWrite.h"
#include "tavroline/alarms.h"

namespace {

using Convenience = TavrolineConvenienceFunctions;

/** The handler behind the handle; null when the handle is refused, which has been logged. */
TavrolineAlarmHandler* handlerOf(TavrolineHandle handle) {
  auto* const handler = static_cast<TavrolineAlarmHandler*>(handle);
  return Convenience::checkStructPointer(handle) && HandleCheck::isUsable(handler) ? handler : nullptr;
}

void writeIfWanted(RTS_IEC_BOOL* target, bool value) {
  if (target != nullptr) {
    *target = value ? 1 : 0;
  }
}

}  // namespace

void logalarm_ext(logalarm_struct* parameters) {
  externalFunction(__func__, [&] {
    if (!Convenience::checkStructPointer(parameters)) {
      return;
    }
    TavrolineAlarmHandler* const handler = handlerOf(parameters->hWriteHandle);
    if (handler == nullptr || !Convenience::checkStructPointer(parameters->pstData) ||
        !Convenience::checkStructPointer(parameters->pastArguments) ||
        !Convenience::checkStructPointer(parameters->pastUrlArguments)) {
      return;
    }
    const LogEntry entry = convertLogEntry(*parameters);
    handler->changeState(entry.type, entry.state, entry.iconType, entry.moduleName, entry.dateTime,
                         entry.description, entry.keywords, entry.user);
  });
}

void getalarmstatefromalarmhandler_ext(getalarmstatefromalarmhandler_struct* parameters) {
  const char* const name = __func__;
  externalFunction(name, [&] {
    if (!Convenience::checkStructPointer(parameters)) {
      return;
    }
    storeResult(name, *parameters, [&]() -> RTS_IEC_INT {
      TavrolineAlarmHandler* const handler = handlerOf(parameters->hWriteHandle);
      if (handler == nullptr) {
        return TAVROLINE_ERROR;
      }
      bool active = false;
      bool acknowledged = false;
      const RTS_IEC_INT result = handler->getAlarmState(active, acknowledged);
      if (result == TAVROLINE_DONE) {
        writeIfWanted(parameters->pxActive, active);
        writeIfWanted(parameters->pxAcknowledged, acknowledged);
      }
      return result;
    });
  });
}

void acknowledgevisualalarm_ext(acknowledgevisualalarm_struct* parameters) {
  externalFunction(__func__, [&] {
    if (!Convenience::checkStructPointer(parameters)) {
      return;
    }
    // The bounds come before the null test: an empty array needs no pointer.
    QStringList alarmIds;
    if (Tavroline::elementCount(parameters->stAlarmIdsDimInfo) > 0) {
      alarmIds = Convenience::getKeywordStringList(parameters->pasAlarmIds, parameters->iAlarmIdSize,
                                                   parameters->stAlarmIdsDimInfo);
    }
    QString user;
    copyWStringDataToQString(parameters->pwsUser, -1, user);
    TavrolineAlarmlistWrite().acknowledgeVisualAlarm(alarmIds, user);
  });
}

void acknowledgecentraldetector_ext(acknowledgecentraldetector_struct* parameters) {
  externalFunction(__func__, [&] {
    if (!Convenience::checkStructPointer(parameters)) {
      return;
    }
    QString user;
    copyWStringDataToQString(parameters->pwsUser, -1, user);
    TavrolineAlarmlistWrite().acknowledgeCentralDetector(user);
  });
}
