#pragma once

#include <typeinfo>

#include "LiveObjects.h"
#include "TavrolineAlarmHandler.h"
#include "TavrolineAlarmlistRead.h"
#include "TavrolineEventlistRead.h"

/**
 * The second look at a handle, after the test for null: whether the object behind it is alive and of the kind
 * that the function takes. A handle that fails is written to the runtime log with what is wrong with it:
 * unknown, already closed, or of another kind. The pointers are not followed unless the object is alive.
 * [plc-task]
 */
namespace HandleCheck {

/** Write into the runtime log what is wrong with a handle. @return false */
bool refuse(const void* object, const char* kind);

/** @tparam Base as which objects of that family may be looked at, whatever their class */
template <typename Base, typename Object>
bool check(const Object* object, Tavroline::LiveObjects::Family family, const char* kind) {
  return (Tavroline::LiveObjects::family(object) == family &&
          typeid(*static_cast<const Base*>(static_cast<const void*>(object))) == typeid(Object)) ||
         refuse(object, kind);
}

/** Either kind of reader. */
inline bool isUsable(const TavrolineReadBaseClass* reader) {
  return Tavroline::LiveObjects::family(reader) == Tavroline::LiveObjects::Family::Reader ||
         refuse(reader, "ReadHandle");
}

inline bool isUsable(const TavrolineEventlistRead* reader) {
  return check<TavrolineReadBaseClass>(reader, Tavroline::LiveObjects::Family::Reader, "EventlistReadHandle");
}

inline bool isUsable(const TavrolineAlarmlistRead* reader) {
  return check<TavrolineReadBaseClass>(reader, Tavroline::LiveObjects::Family::Reader, "AlarmlistReadHandle");
}

inline bool isUsable(const TavrolineAlarmHandler* handler) {
  return check<TavrolineAlarmHandler>(handler, Tavroline::LiveObjects::Family::AlarmHandler,
                                      "AlarmlistWriteHandle");
}

}  // namespace HandleCheck
