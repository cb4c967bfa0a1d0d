#include "ExternalFunction.h"
#include "LogEntry.h"
#include "TavrolineEventlistWrite.h"
#include "tavroline/events.h"

namespace Tavroline {
namespace {
constexpr char kFile[] = "EventFunctions";
}  // namespace
}  // namespace Tavroline

using namespace Tavroline;

void logevent_ext(logevent_struct* parameters) {
  externalFunction(ORIGIN(logevent), [&] {
    if (!TavrolineConvenienceFunctions::checkStructPointer(parameters)) {
      return;
    }
    const LogEntry entry = convertLogEntry(*parameters);
    TavrolineEventlistWrite().logEvent(entry.type, entry.state, entry.iconType, entry.moduleName,
                                       entry.dateTime, entry.description, entry.keywords, entry.user);
  });
}

void deleteeventlist_ext(deleteeventlist_struct* /*parameters*/) {
  externalFunction(ORIGIN(deleteeventlist), [] { TavrolineEventlistWrite().deleteEventlist(); });
}
