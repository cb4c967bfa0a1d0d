#pragma once

#include <type_traits>
#include <typeinfo>

#include "LiveObjects.h"
#include "RuntimeLog.h"
#include "TavrolineConvenienceFunctions.h"
#include "TavrolineReadBaseClass.h"
#include "tavroline/conventions.h"

class TavrolineAlarmHandler;

/**
 * The objects behind handles. A handle is checked before its address is used: one that is null, unknown,
 * already closed or of another kind is refused, with one record.
 */
namespace Tavroline {

/** Logs why a handle that is not null is refused: unknown, already closed or of another kind. [plc-task] */
void logRefusal(const Origin& origin, TavrolineHandle handle, const char* kind);

constexpr const char* kindOf(const TavrolineReadBaseClass*) {
  return "ReadHandle";
}
constexpr const char* kindOf(const TavrolineEventlistRead*) {
  return "EventlistReadHandle";
}
constexpr const char* kindOf(const TavrolineAlarmlistRead*) {
  return "AlarmlistReadHandle";
}

/**
 * The reader behind a handle; null if the handle is refused, which is logged. Dereferences the handle only if
 * it is the address of a live reader.
 * @tparam Reader the class that the function takes; TavrolineReadBaseClass takes both kinds. [plc-task]
 */
template <typename Reader>
Reader* readerOf(const Origin& origin, TavrolineHandle handle) {
  Reader* reader = nullptr;
  if (!TavrolineConvenienceFunctions::getHandlePointer(&reader, handle)) {
    return nullptr;
  }
  constexpr bool kTakesBothKinds = std::is_same_v<Reader, TavrolineReadBaseClass>;
  if (LiveObjects::family(handle) == LiveObjects::Family::Reader &&
      (kTakesBothKinds || typeid(*static_cast<TavrolineReadBaseClass*>(handle)) == typeid(Reader))) {
    return reader;
  }
  logRefusal(origin, handle, kindOf(reader));
  return nullptr;
}

/** The alarm handler behind a handle; null if the handle is refused, which is logged. [plc-task] */
TavrolineAlarmHandler* handlerOf(const Origin& origin, TavrolineHandle handle);

}  // namespace Tavroline
