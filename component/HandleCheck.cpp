#include "HandleCheck.h"

#include <QString>

#include <typeinfo>

#include "LiveObjects.h"
#include "RuntimeLog.h"
#include "TavrolineAlarmHandler.h"
#include "TavrolineAlarmlistRead.h"
#include "TavrolineEventlistRead.h"

namespace {

using LiveObjects::Family;

bool refuse(const void* object, const char* kind) {
  const char* const reason = LiveObjects::family(object) != Family::None ? "of another kind"
                             : LiveObjects::wasClosed(object)            ? "already closed"
                                                                         : "unknown";
  RuntimeLog::write("HandleCheck", "HandleCheck::isUsable",
                    QStringLiteral("%1 %2").arg(QLatin1String(kind), QLatin1String(reason)));
  return false;
}

/** @tparam Base as which objects of that family may be looked at, whatever their class */
template <typename Base, typename Object>
bool check(const Object* object, Family family, const char* kind) {
  return (LiveObjects::family(object) == family &&
          typeid(*static_cast<const Base*>(static_cast<const void*>(object))) == typeid(Object)) ||
         refuse(object, kind);
}

}  // namespace

bool HandleCheck::isUsable(const TavrolineReadBaseClass* reader) {
  return LiveObjects::family(reader) == Family::Reader || refuse(reader, "ReadHandle");
}

bool HandleCheck::isUsable(const TavrolineEventlistRead* reader) {
  return check<TavrolineReadBaseClass>(reader, Family::Reader, "EventlistReadHandle");
}

bool HandleCheck::isUsable(const TavrolineAlarmlistRead* reader) {
  return check<TavrolineReadBaseClass>(reader, Family::Reader, "AlarmlistReadHandle");
}

bool HandleCheck::isUsable(const TavrolineAlarmHandler* handler) {
  return check<TavrolineAlarmHandler>(handler, Family::AlarmHandler, "AlarmlistWriteHandle");
}
