#include <signal.h>
#include <systemd/sd-daemon.h>

#include <cstdio>
#include <exception>
#include <memory>

#include "BusCall.h"
#include "ServiceLoop.h"

namespace {

struct UnrefEvent {
  void operator()(sd_event* event) const { sd_event_unref(event); }
};
using EventLoop = std::unique_ptr<sd_event, UnrefEvent>;

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

}  // namespace

int main(int argc, char** argv) {
  int exitCode = Options::ExitDone;
  const auto options = Options::parse(argc, argv, exitCode);
  if (!options) {
    return exitCode;
  }
  try {
    const EventLoop event = newEventLoop();
    ServiceLoop::run(*options, event.get(), [&event] {
      sd_notify(0, "READY=1");
      checkBus(sd_event_set_watchdog(event.get(), 1));
      std::puts("ready");
      std::fflush(stdout);
    });
  } catch (const std::exception& error) {
    std::fprintf(stderr, "tavroline-listd: %s\n", error.what());
    return Options::ExitFailed;
  }
  return Options::ExitDone;
}
