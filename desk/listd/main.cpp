#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>

#include "ListObjects.h"
#include "MessagesObject.h"
#include "Options.h"
#include "Schema.h"

namespace {

// Maximum number of messages that are handled before a list query is answered and a stop request seen.
constexpr int kMaxMessages = 256;

constexpr int kTrimInterval = 3600000;  // ms

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

/** Milliseconds until sd-bus wants to be called again. */
int busTimeout(sd_bus* bus) {
  uint64_t due = UINT64_MAX;  // microseconds, monotonic clock
  sd_bus_get_timeout(bus, &due);
  const auto now =
      std::chrono::floor<std::chrono::microseconds>(std::chrono::steady_clock::now().time_since_epoch());
  const auto present = static_cast<uint64_t>(now.count());
  return due <= present ? 0 : static_cast<int>(qMin<uint64_t>((due - present) / 1000 + 1, INT_MAX));
}

/** Something to do again and again. */
class Interval {
 public:
  explicit Interval(qint64 milliseconds) : m_length(milliseconds) { m_since.start(); }

  /** Milliseconds until isOver(). */
  int timeout() const { return static_cast<int>(qBound<qint64>(0, m_length - m_since.elapsed(), INT_MAX)); }
  /** Whether it is over; the next one begins then. */
  bool isOver() { return timeout() == 0 && (m_since.start(), true); }

 private:
  qint64 m_length;
  QElapsedTimer m_since;
};

/** Milliseconds between two notices for systemd's watchdog, half of what it allows. */
qint64 watchdogInterval() {
  uint64_t allowed = 0;  // microseconds
  return sd_watchdog_enabled(0, &allowed) > 0 ? static_cast<qint64>(allowed / 2000) : INT_MAX;
}

/** Handle calls until SIGTERM or SIGINT arrives. Throws std::runtime_error when the connection to the bus is
 * lost. */
void serve(sd_bus* bus, ListService& service, MessagesObject& messages, ListObjects& lists, int signals) {
  Interval watchdog(watchdogInterval());
  Interval trim(kTrimInterval);
  for (;;) {
    int waiting = 1;
    for (int handled = 0; handled < kMaxMessages && waiting > 0; ++handled) {
      waiting = sd_bus_process(bus, nullptr);
      if (waiting < 0) {
        failBus("the connection to the bus is lost", waiting);
      }
    }
    messages.endSessions();
    if (trim.isOver()) {
      service.trim();
    }
    lists.endTurn();
    if (watchdog.isOver()) {
      sd_notify(0, "WATCHDOG=1");
    }

    const int events = sd_bus_get_events(bus);
    if (events < 0) {
      failBus("the connection to the bus is lost", events);
    }
    pollfd files[] = {{sd_bus_get_fd(bus), static_cast<short>(events), 0}, {signals, POLLIN, 0}};
    const int timeout = std::min({watchdog.timeout(), trim.timeout(), messages.timeout(), lists.timeout()});
    poll(files, 2, waiting > 0 ? 0 : std::min(timeout, busTimeout(bus)));
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
    ListService service(database, options->capacity, std::chrono::hours(24) * options->keepDays);
    const Bus bus = connect();
    ClientCounters counters;
    MessagesObject messages(bus.get(), service, counters, std::chrono::seconds(options->orphans));
    ListObjects lists(bus.get(), service, counters);
    requestName(bus.get());
    sd_notify(0, "READY=1");
    std::puts("ready");
    std::fflush(stdout);
    serve(bus.get(), service, messages, lists, signals);
    lists.changeSignals().emitNow();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "tavroline-listd: %s\n", error.what());
    return Options::ExitFailed;
  }
  return Options::ExitDone;
}
