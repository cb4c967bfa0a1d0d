#pragma once

class TavrolineAlarmHandler;
class TavrolineAlarmlistRead;
class TavrolineEventlistRead;
class TavrolineReadBaseClass;

/**
 * The second look at a handle, after the test for null: whether the object behind it is alive and of the kind
 * that the function takes. A handle that fails is written to the runtime log with what is wrong with it:
 * unknown, already closed, or of another kind. The pointers are not followed unless the object is alive.
 * [plc-task]
 */
namespace HandleCheck {

bool isUsable(const TavrolineReadBaseClass* reader);  ///< either kind of reader
bool isUsable(const TavrolineEventlistRead* reader);
bool isUsable(const TavrolineAlarmlistRead* reader);
bool isUsable(const TavrolineAlarmHandler* handler);

}  // namespace HandleCheck
