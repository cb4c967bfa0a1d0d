#include "HandleCheck.h"

#include "TavrolineAlarmHandler.h"

namespace Tavroline {

void logRefusal(const Origin& origin, TavrolineHandle handle, const char* kind) {
  const char* const reason = LiveObjects::family(handle) != LiveObjects::Family::None ? "of another kind"
                             : LiveObjects::wasClosed(handle)                         ? "already closed"
                                                                                      : "unknown";
  RuntimeLog::write(origin.file, origin.signature,
                    QStringLiteral("%1 %2").arg(QLatin1String(kind), QLatin1String(reason)), origin.line);
}

TavrolineAlarmHandler* handlerOf(const Origin& origin, TavrolineHandle handle) {
  if (!TavrolineConvenienceFunctions::checkStructPointer(handle)) {
    return nullptr;
  }
  if (LiveObjects::family(handle) != LiveObjects::Family::AlarmHandler) {
    logRefusal(origin, handle, "AlarmlistWriteHandle");
    return nullptr;
  }
  return static_cast<TavrolineAlarmHandler*>(handle);
}

}  // namespace Tavroline
