#include "PrivateBus.h"

#include <systemd/sd-bus.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>

namespace {

int ignoreSignal(sd_bus_message*, void*, sd_bus_error*) {
  return 0;
}

bool hasOwner(sd_bus* bus, const std::string& name) {
  sd_bus_message* reply = nullptr;
  int owned = 0;
  if (sd_bus_call_method(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                         "NameHasOwner", nullptr, &reply, "s", name.c_str()) >= 0)
    sd_bus_message_read(reply, "b", &owned);
  sd_bus_message_unref(reply);
  return owned != 0;
}

}  // namespace

PrivateBus::PrivateBus() {
  std::string folder = (std::filesystem::temp_directory_path() / "tavroline-XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) throw std::runtime_error("no temporary folder");
  m_folder = folder;
  setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + m_folder + "/bus").c_str(), 1);
  start();
}

PrivateBus::~PrivateBus() {
  stop();
  unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
  std::error_code ignored;
  std::filesystem::remove_all(m_folder, ignored);
}

void PrivateBus::start() {
  std::filesystem::remove(m_folder + "/bus");
  m_daemon.emplace("dbus-daemon", std::vector<std::string>{"--nofork", "--print-address",
                                                           "--config-file=" TAVROLINE_BUS_CONFIGURATION,
                                                           "--address=unix:path=" + m_folder + "/bus"});
  // The address is printed once the daemon listens.
  if (!eventually([this] { return m_daemon->output().find('\n') != std::string::npos; }) ||
      m_daemon->output().rfind("unix:", 0) != 0)
    throw std::runtime_error("dbus-daemon: " + m_daemon->output());
}

void PrivateBus::stop() {
  m_daemon.reset();
}

void PrivateBus::pause() const {
  m_daemon->pause();
}

void PrivateBus::resume() const {
  m_daemon->resume();
}

bool PrivateBus::waitForName(const std::string& name, Milliseconds deadline) const {
  return waitForOwner(name, true, deadline);
}

bool PrivateBus::waitForNameGone(const std::string& name, Milliseconds deadline) const {
  return waitForOwner(name, false, deadline);
}

bool PrivateBus::waitForOwner(const std::string& name, bool owned, Milliseconds deadline) const {
  sd_bus* opened = nullptr;
  if (sd_bus_open_system(&opened) < 0) return false;
  const std::unique_ptr<sd_bus, decltype(&sd_bus_flush_close_unref)> bus(opened, sd_bus_flush_close_unref);
  // The signal only wakes the loop; what counts is the answer to the question.
  if (sd_bus_match_signal(bus.get(), nullptr, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                          "org.freedesktop.DBus", "NameOwnerChanged", ignoreSignal, nullptr) < 0)
    return false;
  const auto end = std::chrono::steady_clock::now() + deadline;
  while (hasOwner(bus.get(), name) != owned) {
    const auto left =
        std::chrono::duration_cast<std::chrono::microseconds>(end - std::chrono::steady_clock::now());
    if (left.count() <= 0) return false;
    if (sd_bus_process(bus.get(), nullptr) == 0 &&
        sd_bus_wait(bus.get(), static_cast<std::uint64_t>(left.count())) < 0)
      return false;
  }
  return true;
}
