#pragma once

#include "TavrolineAlarmlistRead.h"
#include "TavrolineEventlistRead.h"

/**
 * The reference of the copy step, for the measurements and the property test: each criterion looks up its
 * member and parses the time again, and so does the copy. Gives the same results as the readers' own copy
 * step with the same list and filter. Not part of the product.
 */
class ReferenceEventlistRead : public TavrolineEventlistRead {
 public:
  /** As convertEventlist(). [plc-task] */
  std::int16_t convertAsReference(int& count, stEventlistEntryType* entries, int capacity) const;
};

class ReferenceAlarmlistRead : public TavrolineAlarmlistRead {
 public:
  /** As convertAlarmlist(). [plc-task] */
  std::int16_t convertAsReference(int& count, stAlarmlistEntryType* entries, int capacity) const;

 private:
  bool passesStates(const QJsonObject& entry) const;
};
