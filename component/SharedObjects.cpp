// The objects that all readers and alarm handlers share. They stand in one source because they are
// constructed in this order when the library is loaded, and destroyed in the reverse order when it is
// unloaded.

#include "TavrolineAlarmHandler.h"
#include "TavrolineAlarmlistRead.h"
#include "TavrolineEventlistRead.h"

QList<TavrolineEventlistRead*> TavrolineEventlistRead::sm_AccessEventlistInstancePointers;
EventlistHandlerDBusConnectorRead TavrolineEventlistRead::sm_EventlistHandlerDBusConnectorRead(true);
QMutex TavrolineEventlistRead::sm_Mutex(QMutex::Recursive);

QList<TavrolineAlarmlistRead*> TavrolineAlarmlistRead::sm_AccessAlarmlistInstancePointers;
AlarmlistHandlerDBusConnectorRead TavrolineAlarmlistRead::sm_AlarmlistHandlerDBusConnectorRead(true);
QMutex TavrolineAlarmlistRead::sm_Mutex(QMutex::Recursive);

QRecursiveMutex TavrolineAlarmHandler::sm_Mutex;
AlarmlistHandlerDBusConnectorRead TavrolineAlarmHandler::sm_AlarmlistHandlerDBusConnectorRead(true);

// Constant-initialised: no constructor runs for these.
bool TavrolineEventlistRead::sm_bDBusInterfaceReady = true;
QElapsedTimer TavrolineEventlistRead::sm_LoadListTimeoutTimer;

bool TavrolineAlarmlistRead::sm_bDBusInterfaceReady = true;
QElapsedTimer TavrolineAlarmlistRead::sm_LoadListTimeoutTimer;
bool TavrolineAlarmlistRead::sm_bIsAlarmInAlarmlist = false;
bool TavrolineAlarmlistRead::sm_bIsActiveAlarmInAlarmlist = false;
bool TavrolineAlarmlistRead::sm_bIsFaultInAlarmlist = false;
bool TavrolineAlarmlistRead::sm_bIsActiveFaultInAlarmlist = false;
