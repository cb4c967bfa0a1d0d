#pragma once

#include "Entry.h"
#include "Functions.h"
#include "ProcessModel.h"

/**
 * The alarm "level high" and the fault "dry run", each with its write handle. In every cycle both report
 * whether their condition holds; the component sends only changes to the service.
 */
class AlarmStation {
 public:
  explicit AlarmStation(const Functions& functions);
  ~AlarmStation();
  AlarmStation(const AlarmStation&) = delete;
  AlarmStation& operator=(const AlarmStation&) = delete;

  /** Report both conditions. */
  void cycle(const ProcessModel& process);

  /** Close the fault's handle, also while the fault is on; afterwards its condition is not reported. */
  void closeDryRun();

  /** One step of a query for the state of "level high". @return TAVROLINE_DONE (then both are set),
   * TAVROLINE_BUSY (call again) or TAVROLINE_ERROR */
  RTS_IEC_INT levelHighState(bool& active, bool& acknowledged);

  /** Acknowledge one alarm or fault by the identifier in its list entry. */
  void acknowledge(const stAlarmlistEntryType& entry);
  void acknowledgeDetector();

 private:
  void report(TavrolineHandle handle, RTS_IEC_INT type, bool on, const char* text,
              const ProcessModel& process);
  void close(TavrolineHandle& handle);

  const Functions& m_functions;
  TavrolineHandle m_levelHigh;
  TavrolineHandle m_dryRun;
};
