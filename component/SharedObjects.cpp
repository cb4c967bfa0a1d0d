// The objects that all readers and alarm handlers share. One source defines them, because loading the library
// constructs them in this order and unloading it destroys them in the reverse order.

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
