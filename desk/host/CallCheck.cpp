#include "CallCheck.h"

#include <tuple>

#include "CallScope.h"
#include "HostLog.h"
#include "ParameterCheck.h"

using ParameterCheck::HandleUse;

namespace {

/** Whether the functions are openX and closeX. */
bool isPair(const std::string& open, const std::string& close) {
  return open.substr(4) == close.substr(5);
}

}  // namespace

void CallCheck::before(const std::string& function, const void* parameters) {
  for (const std::string& misuse : ParameterCheck::misuses(function, parameters)) {
    warn(misuse);
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
