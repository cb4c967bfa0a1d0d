#pragma once

#include <optional>
#include <vector>

#include "Functions.h"

/** A read handle on the alarm list with its summary; open while the object exists. */
class AlarmReader {
 public:
  /** Whether the list holds entries of each kind, and whether the central detector is on. */
  struct Summary {
    bool alarm;
    bool activeAlarm;
    bool fault;
    bool activeFault;
    bool detector;
  };

  explicit AlarmReader(const Functions& functions);
  ~AlarmReader();
  AlarmReader(const AlarmReader&) = delete;
  AlarmReader& operator=(const AlarmReader&) = delete;

  /** The flags as the services last reported them. */
  Summary summary() const;

  /** One step of loading the list: TAVROLINE_DONE, _BUSY (call again) or _ERROR. */
  RTS_IEC_INT load();

  /** The entries of the loaded list with these states; without a value both states pass. */
  std::vector<stAlarmlistEntryType> entries(std::optional<bool> active = std::nullopt,
                                            std::optional<bool> acknowledged = std::nullopt);

 private:
  const Functions& m_functions;
  TavrolineHandle m_handle;
};
