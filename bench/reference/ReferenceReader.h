#pragma once

#include "TavrolineAlarmlistRead.h"
#include "TavrolineEventlistRead.h"

/**
 * The copy step in its first, plain form, kept as a yardstick and as the reference of the property test: each
 * criterion looks its member up again and parses the time again, and so does the copy. Same list, same
 * filter, same results as the readers' own copy step. No part of the product.
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
