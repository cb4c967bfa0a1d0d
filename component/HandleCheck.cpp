#include "HandleCheck.h"

#include <QString>

#include "RuntimeLog.h"

bool HandleCheck::refuse(const void* object, const char* kind) {
  const char* const reason = Tavroline::LiveObjects::family(object) != Tavroline::LiveObjects::Family::None
                                 ? "of another kind"
                             : Tavroline::LiveObjects::wasClosed(object) ? "already closed"
                                                                         : "unknown";
  Tavroline::RuntimeLog::write("HandleCheck", "HandleCheck::isUsable",
                               QStringLiteral("%1 %2").arg(QLatin1String(kind), QLatin1String(reason)));
  return false;
}
