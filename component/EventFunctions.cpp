#include "ExternalFunction.h"
#include "LogEntry.h"
#include "TavrolineEventlistWrite.h"
#include "tavroline/events.h"

void logevent_ext(logevent_struct* parameters) {
  externalFunction(__func__, [&] {
    if (!TavrolineConvenienceFunctions::checkStructPointer(parameters)) {
      return;
    }
    const LogEntry entry = convertLogEntry(*parameters);
    TavrolineEventlistWrite().logEvent(entry.type, entry.state, entry.iconType, entry.moduleName,
                                       entry.dateTime, entry.description, entry.keywords, entry.user);
  });
}

void deleteeventlist_ext(deleteeventlist_struct* /*parameters*/) {
  externalFunction(__func__, [] { TavrolineEventlistWrite().deleteEventlist(); });
}
