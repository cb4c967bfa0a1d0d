#include "PrivateBus.h"

#include <systemd/sd-bus.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

PrivateBus::PrivateBus() : m_folder(std::filesystem::temp_directory_path() / "tavroline-XXXXXX") {
  if (mkdtemp(m_folder.data()) == nullptr) {
    throw std::runtime_error("no temporary folder");
  }
  setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + m_folder + "/bus").c_str(), 1);
  std::ofstream(m_folder + "/bus.conf")
      << "<busconfig><include>" TAVROLINE_BUS_CONFIGURATION "</include><servicedir>" << m_folder
      << "</servicedir></busconfig>";
  start();
}

PrivateBus::~PrivateBus() {
  stop();
  std::error_code ignored;
  std::filesystem::remove_all(m_folder, ignored);
}

void PrivateBus::start() {
  std::filesystem::remove(m_folder + "/bus");
  m_daemon.emplace("dbus-daemon", std::vector<std::string>{"--nofork", "--print-address",
                                                           "--config-file=" + m_folder + "/bus.conf",
                                                           "--address=unix:path=" + m_folder + "/bus"});
  // The address is printed once the daemon listens.
  if (!eventually([this] { return m_daemon->output().find('\n') != std::string::npos; }) ||
      m_daemon->output().rfind("unix:", 0) != 0) {
    throw std::runtime_error("dbus-daemon: " + m_daemon->output());
  }
}

void PrivateBus::addService(const std::string& name, const std::string& command) const {
  std::ofstream(m_folder + "/" + name + ".service")
      << "[D-BUS Service]\nName=" << name << "\nExec=" << command << "\n";
}

void PrivateBus::stop() {
  m_daemon.reset();
}

bool PrivateBus::waitForName(const std::string& name, bool owned) const {
  sd_bus* bus = nullptr;
  sd_bus_open_system(&bus);  // without a bus each query below fails
  const bool arrived = eventually([&] {
    const int found = sd_bus_get_name_creds(bus, name.c_str(), 0, nullptr);
    return owned ? found >= 0 : found == -ENXIO;
  });
  sd_bus_flush_close_unref(bus);
  return arrived;
}
