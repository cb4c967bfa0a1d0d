// A logging call beside sd_journal_send of the same fields, in bursts that take turns. On a /run of our own,
// which no other process sees: with a journald of our own if the system has the program, else with a receiver
// that stores nothing.

#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <stdexcept>

#include "LogFixture.h"
#include "RealTime.h"

namespace {

constexpr char kJournald[] = "/lib/systemd/systemd-journald";
constexpr char kSocket[] = "/run/systemd/journal/socket";
constexpr int kBurst = 3000;
constexpr int kTurns = 5;

bool ownRun() {
  return unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount("run", "/run", "tmpfs", 0, nullptr) == 0 &&
         std::filesystem::create_directories(std::filesystem::path(kSocket).parent_path());
}

/** Receives what is sent to the journal's socket until the socket is closed. */
class Receiver {
 public:
  Receiver() : m_socket(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{AF_UNIX, {}};
    std::copy(std::begin(kSocket), std::end(kSocket), address.sun_path);
    if (bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
      throw std::runtime_error("the journal's socket cannot be made");
    }
    m_thread = std::thread([this] {
      char entry[4096];
      while (recv(m_socket, entry, sizeof entry, 0) > 0) {
      }
    });
  }
  ~Receiver() {
    shutdown(m_socket, SHUT_RDWR);
    m_thread.join();
    close(m_socket);
  }
  Receiver(const Receiver&) = delete;
  Receiver& operator=(const Receiver&) = delete;

 private:
  int m_socket;
  std::thread m_thread;
};

void sendToJournal(const logevent_struct& event) {
  const stDataType& data = *event.pstData;
  const char* const keyword = event.pasKeywords;
  const int result = sd_journal_send(
      "MESSAGE=%s", data.sObjectName, "PRIORITY=6", "EVENT_TYPE=%d", event.iEventType, "EVENT_STATE=%d",
      event.iState, "ICON_TYPE=%s", event.psIconType, "MODULE=%s", event.psModuleName, "TEXT_SOURCE=%d",
      data.iTextSource, "MODULE_NAME=%s", data.sModuleName, "INSTANCE_NAME=%s", data.sInstanceName, "URL=%s",
      data.sUrl, "KEYWORD=%s", keyword, "KEYWORD=%s", keyword + event.iKeywordSize, "KEYWORD=%s",
      keyword + event.iKeywordSize + event.iKeywordSize, "EVENT_USER=%s", "", "APPLICATION=%s", "PlcEvents",
      nullptr);
  if (result != 0) {
    throw std::runtime_error("sd_journal_send failed");
  }
}

void measure() {
  const BusAndService desk;
  const Library library;
  const auto logEvent = library.find<logevent_struct>("logevent");
  LogFixture entry(false);
  const auto median = [](const auto& call) {
    std::vector<double> times(kBurst);
    for (double& time : times) {
      time = timeOf(call);
    }
    std::nth_element(times.begin(), times.begin() + kBurst / 2, times.end());
    return times[kBurst / 2];
  };
  for (int turn = 0; turn <= kTurns; ++turn) {
    const double journal = median([&] { sendToJournal(entry.event); });
    const double own = median([&] { logEvent(&entry.event); });
    desk.waitForStored(static_cast<std::uint64_t>(turn + 1) * kBurst);
    if (turn > 0) {  // the first burst of a process makes the heap grow
      print("journal/median", journal);
      print("library/median", own);
    }
  }
}

}  // namespace

int main() {
  if (!ownRun()) {
    std::printf("{\"skipped\": \"this system refuses a private /run\"}\n");
    return 0;
  }
  std::optional<ChildProcess> journald;
  std::optional<Receiver> receiver;
  if (access(kJournald, X_OK) == 0) {
    journald.emplace(kJournald, std::vector<std::string>());
    if (!eventually([] { return std::filesystem::exists(kSocket); })) {
      throw std::runtime_error("journald: " + journald->output());
    }
  } else {
    receiver.emplace();
  }
  std::printf("{\"note\": \"%s\"}\n",
              journald ? "journald" : "no journald here: a receiver that stores nothing");
  measure();
}
