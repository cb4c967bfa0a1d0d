#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <ctime>

#include "AlarmListObject.h"
#include "CallBatch.h"
#include "EventListObject.h"
#include "ListServiceNames.h"
#include "Options.h"
#include "Schema.h"

namespace {

struct CloseBus {
  void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
};
using Bus = std::unique_ptr<sd_bus, CloseBus>;

[[noreturn]] void failBus(const char* what, int code) {
  throw std::runtime_error(std::string(what) + ": " + std::strerror(-code));
}

/** Block SIGTERM and SIGINT, so that they do not end the process within a transaction. @return their signalfd
 */
int blockSignals() {
  // Ignored: SQLite reports a reached file-size limit as an error, and writing to a closed stdout is no
  // reason to end.
  signal(SIGXFSZ, SIG_IGN);
  signal(SIGPIPE, SIG_IGN);
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGTERM);
  sigaddset(&set, SIGINT);
  sigprocmask(SIG_BLOCK, &set, nullptr);
  return signalfd(-1, &set, SFD_CLOEXEC);
}

Bus connect() {
  sd_bus* bus = nullptr;
  const int code = sd_bus_open_system(&bus);
  if (code < 0) {
    failBus("no connection to the bus (DBUS_SYSTEM_BUS_ADDRESS, or else the system bus)", code);
  }
  return Bus(bus);
}

void requestName(sd_bus* bus) {
  const int code = sd_bus_request_name(bus, Tavroline::ListServiceNames::kService, 0);
  if (code == -EEXIST) {
    throw std::runtime_error("another list service runs on this bus already; end that one first");
  }
  if (code < 0) {
    failBus("the bus refuses the service's name", code);
  }
}

/** Milliseconds until sd-bus wants to be called again, at most a minute; -1 if it waits for a message only.
 */
int busTimeout(sd_bus* bus) {
  uint64_t due = UINT64_MAX;  // microseconds, monotonic clock
  if (sd_bus_get_timeout(bus, &due) < 0 || due == UINT64_MAX) {
    return -1;
  }
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const uint64_t present =
      static_cast<uint64_t>(now.tv_sec) * 1000000 + static_cast<uint64_t>(now.tv_nsec) / 1000;
  return due <= present ? 0 : static_cast<int>(qMin<uint64_t>((due - present + 999) / 1000, 60000));
}

/** The shorter of two timeouts; -1 is no timeout. */
int shorterTimeout(int one, int other) {
  return one < 0 || other < 0 ? qMax(one, other) : qMin(one, other);
}

/** Handle calls until SIGTERM or SIGINT arrives. Throws std::runtime_error when the connection to the bus is
 * lost. */
void serve(sd_bus* bus, CallBatch& batch, int signals) {
  for (;;) {
    int waiting = 1;
    for (int handled = 0; handled < CallBatch::kMaxCalls && waiting > 0; ++handled) {
      waiting = sd_bus_process(bus, nullptr);
      if (waiting < 0) {
        failBus("the connection to the bus is lost", waiting);
      }
    }
    batch.finish();

    const int events = sd_bus_get_events(bus);
    if (events < 0) {
      failBus("the connection to the bus is lost", events);
    }
    pollfd files[] = {{sd_bus_get_fd(bus), static_cast<short>(events), 0}, {signals, POLLIN, 0}};
    poll(files, 2, waiting > 0 ? 0 : shorterTimeout(busTimeout(bus), batch.timeout()));
    if (files[1].revents != 0) {
      return;
    }
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
    const int signals = blockSignals();
    Database database(options->databaseFile);
    Schema::open(database);
    ListService service(database, options->capacity);
    const Bus bus = connect();
    CallBatch batch(bus.get(), service);
    addEventListObject(bus.get(), batch);
    addAlarmListObject(bus.get(), batch);
    requestName(bus.get());
    std::puts("ready");
    std::fflush(stdout);
    serve(bus.get(), batch, signals);
    batch.signalChanges();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "tavroline-listd: %s\n", error.what());
    return Options::ExitFailed;
  }
  return Options::ExitDone;
}
