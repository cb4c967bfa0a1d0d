#include <signal.h>
#include <systemd/sd-daemon.h>
#include <systemd/sd-event.h>

#include <algorithm>
#include <chrono>
#include <cstdio>

#include "ListObjects.h"
#include "MessagesObject.h"
#include "Options.h"
#include "Schema.h"

namespace {

// Maximum number of messages that are handled before a list query is answered.
constexpr int kMaxMessages = 256;

constexpr int kTrimInterval = 3600000;  // ms

struct UnrefEvent {
  void operator()(sd_event* event) const { sd_event_unref(event); }
};
using EventLoop = std::unique_ptr<sd_event, UnrefEvent>;
using Bus = Tavroline::BusPointer<sd_bus>;

/** A loop that SIGTERM and SIGINT end, though not within a transaction. */
EventLoop newEventLoop() {
  // Ignored: SQLite reports a reached file-size limit as an error, and writing to a closed stdout is no
  // reason to end.
  signal(SIGXFSZ, SIG_IGN);
  signal(SIGPIPE, SIG_IGN);
  sd_event* event = nullptr;
  checkBus(sd_event_default(&event), "no event loop");
  for (const int ends : {SIGTERM, SIGINT}) {
    checkBus(sd_event_add_signal(event, nullptr, ends | SD_EVENT_SIGNAL_PROCMASK, nullptr, nullptr));
  }
  return EventLoop(event);
}

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

/** Handle calls until SIGTERM or SIGINT arrives. Throws std::runtime_error when the connection to the bus is
 * lost. */
void serve(sd_event* event, ListService& service, MessagesObject& messages, ListObjects& lists) {
  QElapsedTimer trimmed;
  trimmed.start();
  while (sd_event_get_state(event) != SD_EVENT_FINISHED) {
    const auto untilTrim = static_cast<int>(qMax<qint64>(0, kTrimInterval - trimmed.elapsed()));
    const int timeout = std::min({untilTrim, messages.timeout(), lists.timeout()});
    int handled = sd_event_run(event, std::chrono::microseconds(std::chrono::milliseconds(timeout)).count());
    for (int i = 1; i < kMaxMessages && handled > 0; ++i) {
      handled = sd_event_run(event, 0);
    }
    messages.endSessions();
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

int main(int argc, char** argv) {
  int exitCode = Options::ExitDone;
  const auto options = Options::parse(argc, argv, exitCode);
  if (!options) {
    return exitCode;
  }
  try {
    const EventLoop event = newEventLoop();
    Database database(options->databaseFile);
    Schema::open(database);
    ListService service(
        database, {options->capacity, std::chrono::hours(24) * options->keepDays, options->replyEntries});
    const Bus bus = connect(event.get());
    ClientCounters counters;
    MessagesObject messages(bus.get(), service, counters, std::chrono::seconds(options->orphans));
    ListObjects lists(bus.get(), service, counters);
    requestName(bus.get());
    sd_notify(0, "READY=1");
    checkBus(sd_event_set_watchdog(event.get(), 1));
    std::puts("ready");
    std::fflush(stdout);
    serve(event.get(), service, messages, lists);
    lists.changeSignals().emitNow();
    sd_bus_flush(bus.get());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "tavroline-listd: %s\n", error.what());
    return Options::ExitFailed;
  }
  return Options::ExitDone;
}
