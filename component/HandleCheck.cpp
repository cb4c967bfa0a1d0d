#include "HandleCheck.h"

#include <QString>

#include <typeinfo>

#include "LiveObjects.h"
#include "RuntimeLog.h"
#include "TavrolineAlarmHandler.h"
#include "TavrolineAlarmlistRead.h"
#include "TavrolineEventlistRead.h"

namespace {

/** The class of the live object at that address, null when there is none. */
const std::type_info* classOf(const void* object) {
  switch (LiveObjects::family(object)) {
    case LiveObjects::Family::Reader:
      return &typeid(*static_cast<const TavrolineReadBaseClass*>(object));
    case LiveObjects::Family::AlarmHandler:
      return &typeid(*static_cast<const TavrolineAlarmHandler*>(object));
    case LiveObjects::Family::None:
      break;
  }
  return nullptr;
}

bool refuse(const void* object, const std::type_info* found, const char* kind) {
  const char* const reason = found != nullptr                 ? "of another kind"
                             : LiveObjects::wasClosed(object) ? "already closed"
                                                              : "unknown";
  RuntimeLog::write("HandleCheck", "HandleCheck::isUsable",
                    QStringLiteral("%1 %2").arg(QLatin1String(kind), QLatin1String(reason)));
  return false;
}

template <typename Object>
bool check(const Object* object, const char* kind) {
  const std::type_info* const found = classOf(object);
  return (found != nullptr && *found == typeid(Object)) || refuse(object, found, kind);
}

}  // namespace

bool HandleCheck::isUsable(const TavrolineReadBaseClass* reader) {
  return LiveObjects::family(reader) == LiveObjects::Family::Reader ||
         refuse(reader, classOf(reader), "ReadHandle");
}

bool HandleCheck::isUsable(const TavrolineEventlistRead* reader) {
  return check(reader, "EventlistReadHandle");
}

bool HandleCheck::isUsable(const TavrolineAlarmlistRead* reader) {
  return check(reader, "AlarmlistReadHandle");
}

bool HandleCheck::isUsable(const TavrolineAlarmHandler* handler) {
  return check(handler, "AlarmlistWriteHandle");
}
