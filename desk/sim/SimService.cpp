#include "SimService.h"

#include <sys/eventfd.h>
#include <systemd/sd-event.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "ListServiceNames.h"
#include "ServiceLoop.h"

namespace fs = std::filesystem;

namespace {

constexpr char kOlder[] = "/older";  // a copy of the store at the last kill

/** Copies an SQLite file with its journal. */
void copyStore(const std::string& from, const std::string& to) {
  for (const char* const suffix : {"", "-wal"}) {
    fs::remove(to + suffix);
    if (fs::exists(from + suffix)) {
      fs::copy_file(from + suffix, to + suffix);
    }
  }
}

}  // namespace

SimService::SimService(Broker& broker, std::int64_t capacity) : m_broker(broker), m_capacity(capacity) {
  std::string folder = fs::exists("/dev/shm") ? "/dev/shm" : fs::temp_directory_path().string();
  folder += "/tavroline-sim-XXXXXX";
  if (mkdtemp(folder.data()) == nullptr) {
    throw std::runtime_error("no folder for the lists can be made: " + folder);
  }
  m_folder = folder;
  m_broker.leftOut = folder;  // errors of the storage name it
  m_stores.push_back({m_folder + "/lists0", {}});
}

SimService::~SimService() {
  endReplaced();
  kill();
  fs::remove_all(m_folder);
}

void SimService::start(const std::string& file) {
  if (m_process != nullptr && m_process->ended) {
    end(m_process);
  }
  if (m_process == nullptr) {
    m_process = std::make_unique<Process>();
    m_process->stop = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    const std::string store = file.empty() ? m_stores.back().file : file;
    m_process->fibre = Scheduler::instance().start(
        "service", [this, store, process = m_process.get()] { run(store, *process); }, false);
  }
}

void SimService::run(const std::string& file, Process& process) {
  sd_event* event = nullptr;
  sd_event_new(&event);
  sd_event_add_io(event, nullptr, process.stop, POLLIN, nullptr, nullptr);  // leaves the loop with code 0
  try {
    Options options;
    options.databaseFile = file;
    options.capacity = m_capacity;
    ServiceLoop::run(options, event, [] {});
  } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): it was killed, or the bus is gone
  }
  sd_event_unref(event);
  process.ended = true;
}

void SimService::end(std::unique_ptr<Process>& process) {
  if (process != nullptr) {
    eventfd_write(process->stop, 1);
    Scheduler::holdBack(process->fibre, 0);
    Scheduler::instance().join(process->fibre);
    close(process->stop);
    process.reset();
  }
}

void SimService::kill() {
  if (m_process != nullptr) {
    m_broker.cut(Tavroline::ListServiceNames::kService);
    end(m_process);  // it may not have had its name yet
  }
}

void SimService::stop() {
  end(m_process);
}

void SimService::hold(Nanoseconds until) {
  if (m_process != nullptr) {
    Scheduler::holdBack(m_process->fibre, until);
  }
}

void SimService::replace() {
  endReplaced();
  m_replaced = std::move(m_process);
  loseStore(false);
  start();
}

void SimService::endReplaced() {
  end(m_replaced);
}

void SimService::loseStore(bool copy) {
  Store& present = m_stores.back();
  present.lost = Scheduler::instance().now() + Scheduler::instance().wallClock;
  const std::string file = m_folder + "/lists" + std::to_string(m_stores.size());
  if (copy && fs::exists(m_folder + kOlder)) {
    copyStore(m_folder + kOlder, file);
  }
  copyStore(present.file, m_folder + kOlder);
  m_stores.push_back({file, {}});
}
