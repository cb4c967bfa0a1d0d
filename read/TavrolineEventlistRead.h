#pragma once

#include <QMutex>

#include "EventlistHandlerDBusConnectorRead.h"
#include "TavrolineReadBaseClass.h"
#include "tavroline/eventlist.h"

namespace Tavroline {
template <typename Reader>
struct ReaderGroup;
}

/**
 * Reader of the device's event list: requests it, learns of its changes and copies its entries into IEC
 * structures. All readers share one connection to the service, one mutex and one request at a time; the
 * filter and the loaded list are each reader's own.
 */
class TavrolineEventlistRead : public TavrolineReadBaseClass {
 public:
  /** Enters the class's list of readers and so receives change reports. [plc-task] */
  TavrolineEventlistRead();
  /** Leaves it; an outstanding request no longer holds up other readers. [plc-task] */
  ~TavrolineEventlistRead() override;

  /** Hand a change that the service has reported to every reader. Never waits for the bus. [hook] */
  static void pollDBusSignals();

  /** Issue the request for all entries (n = 0) or for n of them, which the service chooses. [plc-task] */
  std::int16_t readListAsynchron(std::uint16_t n) override;

  /** One step of loading, under the class mutex; see TavrolineReadBaseClass::loadCompleteList(). [plc-task]
   */
  std::int16_t loadCompleteEventlist(std::uint16_t n);

  /**
   * Copy the loaded entries that pass the filter, in list order.
   * @param count set to the number of elements filled; left alone when `entries` is null
   * @param capacity elements of `entries`; padding and elements behind `count` stay as they were
   * @return ResultDone, or ResultError when `entries` is null. [plc-task]
   */
  std::int16_t convertEventlist(int& count, stEventlistEntryType* entries, int capacity) const;

 protected:
  static QList<TavrolineEventlistRead*> sm_AccessEventlistInstancePointers;
  static EventlistHandlerDBusConnectorRead sm_EventlistHandlerDBusConnectorRead;
  static QMutex sm_Mutex;
  static bool sm_bDBusInterfaceReady;
  static QElapsedTimer sm_LoadListTimeoutTimer;

 private:
  /** What all readers of this class share. [any-thread] */
  static Tavroline::ReaderGroup<TavrolineEventlistRead> group();
};
