#pragma once

#include "Entry.h"
#include "Functions.h"
#include "ProcessModel.h"

/**
 * The alarm "level high" and the fault "dry run", each behind a write handle of its own. In every cycle both
 * report the level of their condition; that only its changes reach the service is not this program's concern.
 */
class AlarmStation {
 public:
  explicit AlarmStation(const Functions& functions);
  ~AlarmStation();
  AlarmStation(const AlarmStation&) = delete;
  AlarmStation& operator=(const AlarmStation&) = delete;

  /** Report both conditions as they are now. */
  void cycle(const ProcessModel& process);

  /** End the fault's handle, whether or not the fault is on; its condition is not reported any more. */
  void closeDryRun();

  /** One step of asking the service for the state of "level high": TAVROLINE_DONE (then both are set),
   * _BUSY or _ERROR. */
  RTS_IEC_INT levelHighState(bool& active, bool& acknowledged);

  /** Acknowledge one alarm or fault by the identifier in its list entry. */
  void acknowledge(const stAlarmlistEntryType& entry);
  void acknowledgeDetector();

 private:
  void report(TavrolineHandle handle, EntryType type, bool on, const char* text, const ProcessModel& process);
  void close(TavrolineHandle& handle);

  const Functions& m_functions;
  TavrolineHandle m_levelHigh;
  TavrolineHandle m_dryRun;
};
