#include "ServiceLoop.h"

#include <algorithm>
#include <chrono>
#include <cstdint>

#include "ListObjects.h"
#include "MessagesObject.h"
#include "Schema.h"

namespace {

// Maximum number of messages that are handled before a list query is answered.
constexpr int kMaxMessages = 256;

constexpr int kTrimInterval = 3600000;  // ms

using Bus = Tavroline::BusPointer<sd_bus>;

Bus connect(sd_event* event) {
  sd_bus* bus = nullptr;
  checkBus(sd_bus_open_system(&bus),
           "no connection to the bus (DBUS_SYSTEM_BUS_ADDRESS, or else the system bus)");
  checkBus(sd_bus_attach_event(bus, event, SD_EVENT_PRIORITY_NORMAL));
  checkBus(sd_bus_set_exit_on_disconnect(bus, 1));
  checkBus(sd_bus_set_close_on_exit(bus, 0));  // the last signals follow the loop
  return Bus(bus);
}

void requestName(sd_bus* bus) {
  const int code = sd_bus_request_name(bus, Tavroline::ListServiceNames::kService, 0);
  if (code == -EEXIST) {
    throw std::runtime_error("another list service runs on this bus already; end that one first");
  }
  checkBus(code, "the bus refuses the service's name");
}

/** Handle calls until the loop is left. Throws std::runtime_error when the connection to the bus is
 * lost. */
void serve(sd_event* event, ListService& service, SessionExpiry& expiry, ListObjects& lists) {
  QElapsedTimer trimmed;
  trimmed.start();
  while (sd_event_get_state(event) != SD_EVENT_FINISHED) {
    const auto untilTrim = static_cast<int>(qMax<qint64>(0, kTrimInterval - trimmed.elapsed()));
    const int timeout = std::min({untilTrim, expiry.timeout(), lists.timeout()});
    int handled = sd_event_run(event, 1000 * static_cast<std::uint64_t>(timeout));
    for (int i = 1; i < kMaxMessages && handled > 0; ++i) {
      handled = sd_event_run(event, 0);
    }
    expiry.endSessions();
    if (trimmed.hasExpired(kTrimInterval)) {
      service.trim();
      trimmed.start();
    }
    lists.endTurn();
  }
  int code = 0;
  sd_event_get_exit_code(event, &code);
  if (code != 0) {
    throw std::runtime_error("the connection to the bus is lost");
  }
}

}  // namespace

void ServiceLoop::run(const Options& options, sd_event* event, const std::function<void()>& ready) {
  Database database(options.databaseFile);
  Schema::open(database);
  ListService service(database,
                      {options.capacity, std::chrono::hours(24) * options.keepDays, options.replyEntries});
  const Bus bus = connect(event);
  ClientCounters counters;
  SessionExpiry expiry(service, std::chrono::seconds(options.orphans));
  const MessagesObject messages(bus.get(), service, expiry, counters);
  ListObjects lists(bus.get(), service, counters);
  requestName(bus.get());
  ready();
  serve(event, service, expiry, lists);
  lists.changeSignals().emitNow();
  sd_bus_flush(bus.get());
}
