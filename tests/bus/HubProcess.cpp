#include "HubProcess.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <ctime>

#include "CodesysRuntime.h"
#include "RuntimeFunctions.h"

HubProcess s_process;

static std::atomic<long> s_millisecondsSkipped{0};

LogAddFunction pfLogAdd = reinterpret_cast<LogAddFunction>(RuntimeFunctions::find("LogAdd"));

extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock,
                                                                    timespec* time) noexcept {
  const auto result = static_cast<int>(syscall(SYS_clock_gettime, clock, time));
  if (clock == CLOCK_MONOTONIC) {
    const long nanoseconds = time->tv_nsec + s_millisecondsSkipped % 1000 * 1000000;
    time->tv_sec += s_process.secondsAhead + s_millisecondsSkipped / 1000 + nanoseconds / 1000000000;
    time->tv_nsec = nanoseconds % 1000000000;
  }
  return result;
}

extern "C" __attribute__((visibility("default"))) int connect(int socket, const sockaddr* address,
                                                              socklen_t size) {
  ++s_process.connections;
  s_process.lastSocket = socket;
  return static_cast<int>(syscall(SYS_connect, socket, address, size));
}

extern "C" __attribute__((visibility("default"))) int poll(pollfd* descriptors, nfds_t count,
                                                           int milliseconds) {
  ++s_process.waits;
  s_process.hubThread = gettid();
  s_process.lastWait = milliseconds;
  if (s_process.pollLies && (descriptors[0].fd >= 0 || descriptors[1].fd >= 0)) {
    ++s_process.lies;
    return 1;
  }
  if (s_process.skipsWaits && milliseconds > 1) {
    s_millisecondsSkipped += milliseconds - 1;
    milliseconds = 1;
  }
  const timespec time{milliseconds / 1000, milliseconds % 1000 * 1000000L};
  return ppoll(descriptors, count, milliseconds < 0 ? nullptr : &time, nullptr);
}
