#pragma once

#include <optional>
#include <vector>

#include "Functions.h"

/** A read handle on the alarm list with its summary; open while the object lives. */
class AlarmReader {
 public:
  /** What the list holds, and the central detector. */
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

  /** As the services have reported it so far. */
  Summary summary() const;

  /** One step of loading the list: TAVROLINE_DONE, _BUSY (call again) or _ERROR. */
  RTS_IEC_INT load();

  /** What of the loaded list has these states; nothing given lets both pass. */
  std::vector<stAlarmlistEntryType> entries(std::optional<bool> active = std::nullopt,
                                            std::optional<bool> acknowledged = std::nullopt);

 private:
  const Functions& m_functions;
  TavrolineHandle m_handle;
};
