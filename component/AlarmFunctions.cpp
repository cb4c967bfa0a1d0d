#include "ExternalFunction.h"
#include "IecMemory.h"
#include "LogEntry.h"
#include "TavrolineAlarmHandler.h"
#include "TavrolineAlarmlistWrite.h"
#include "tavroline/alarms.h"

namespace Tavroline {
namespace {

using Convenience = TavrolineConvenienceFunctions;
constexpr char kFile[] = "AlarmFunctions";

void writeIfWanted(RTS_IEC_BOOL* target, bool value) {
  if (target != nullptr) {
    *target = value ? 1 : 0;
  }
}

}  // namespace
}  // namespace Tavroline

using namespace Tavroline;

void logalarm_ext(logalarm_struct* parameters) {
  const Origin origin = ORIGIN(logalarm);
  externalFunction(origin, [&] {
    if (!Convenience::checkStructPointer(parameters)) {
      return;
    }
    TavrolineAlarmHandler* const handler = handlerOf(origin, parameters->hWriteHandle);
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
  const Origin origin = ORIGIN(getalarmstatefromalarmhandler);
  externalFunction(origin, [&] {
    if (!Convenience::checkStructPointer(parameters)) {
      return;
    }
    Result result(parameters->iResult);
    TavrolineAlarmHandler* const handler = handlerOf(origin, parameters->hWriteHandle);
    if (handler == nullptr) {
      return;
    }
    bool active = false;
    bool acknowledged = false;
    const RTS_IEC_INT state = handler->getAlarmState(active, acknowledged);
    if (state == ResultDone) {
      writeIfWanted(parameters->pxActive, active);
      writeIfWanted(parameters->pxAcknowledged, acknowledged);
    }
    result = state;
  });
}

void acknowledgevisualalarm_ext(acknowledgevisualalarm_struct* parameters) {
  externalFunction(ORIGIN(acknowledgevisualalarm), [&] {
    if (!Convenience::checkStructPointer(parameters)) {
      return;
    }
    // An empty array needs no pointer, so the bounds are checked first.
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
  externalFunction(ORIGIN(acknowledgecentraldetector), [&] {
    if (!Convenience::checkStructPointer(parameters)) {
      return;
    }
    QString user;
    copyWStringDataToQString(parameters->pwsUser, -1, user);
    TavrolineAlarmlistWrite().acknowledgeCentralDetector(user);
  });
}
