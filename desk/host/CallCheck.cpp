#include "CallCheck.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <tuple>

#include "CallScope.h"
#include "HostLog.h"
#include "ParameterCheck.h"

using ParameterCheck::HandleUse;

namespace {

int s_faultStatus = 0;
thread_local char t_misuse[512];  ///< the sentence if the thread's present call faults; empty without misuse

/** Only functions that a signal handler may call. */
void onFault(int signal) {
  if (t_misuse[0] == '\0') {
    std::signal(signal, SIG_DFL);  // the instruction faults again
    return;
  }
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, t_misuse, std::strlen(t_misuse));
  _exit(s_faultStatus);
}

/** Whether the functions are openX and closeX. */
bool isPair(const std::string& open, const std::string& close) {
  return open.substr(4) == close.substr(5);
}

}  // namespace

void CallCheck::endOnFault(int status) {
  s_faultStatus = status;
  std::signal(SIGSEGV, onFault);
  std::signal(SIGBUS, onFault);
}

void CallCheck::before(const std::string& function, const void* parameters) {
  std::string all;
  for (const std::string& misuse : ParameterCheck::misuses(function, parameters)) {
    warn(misuse);
    all += misuse + "; ";
  }
  if (!all.empty()) {
    std::snprintf(t_misuse, sizeof t_misuse, "tavroline-host: %s%sthe call left the program's memory\n",
                  CallScope::cause().c_str(), all.c_str());
  }
  const HandleUse use = ParameterCheck::handleUse(function, parameters);
  if (use.kind == HandleUse::Kind::Closes) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto opened = m_open.find(use.handle);
    // The component refuses to close a handle of another kind.
    if (opened != m_open.end() && isPair(opened->second.function, function)) {
      m_open.erase(opened);
    }
  }
}

void CallCheck::after(const std::string& task, const std::string& function, const void* parameters) {
  t_misuse[0] = '\0';
  const HandleUse use = ParameterCheck::handleUse(function, parameters);
  if (use.kind == HandleUse::Kind::Opens && use.handle != nullptr) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_open[use.handle] = {task, function, use.field};
  }
}

std::uint64_t CallCheck::finish() {
  std::map<std::tuple<std::string, std::string, std::string>, std::uint64_t> counts;
  const std::lock_guard<std::mutex> lock(m_mutex);
  for (const auto& [handle, opened] : m_open) {
    ++counts[{opened.task, opened.function, opened.field}];
  }
  for (const auto& [opened, count] : counts) {
    const auto& [task, function, field] = opened;
    const CallScope scope(task, function);
    warn(field + " was not closed" + (count > 1 ? ", " + std::to_string(count) + " times" : ""));
  }
  m_open.clear();
  return m_found;
}

void CallCheck::warn(const std::string& text) {
  ++m_found;
  HostLog::write("warning", "check: " + text);
}
