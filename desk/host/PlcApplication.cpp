#include "PlcApplication.h"

#include <stdexcept>
#include <string>
#include <utility>

#include "HostLog.h"

PlcApplication::PlcApplication(const std::string& path, CallMonitor& monitor,
                               std::function<void(int)> onFinish)
    : m_path(path),
      m_monitor(monitor),
      m_finish(std::move(onFinish)),
      m_runtime{this, findFunction, finish},
      m_library(path) {
  if (!m_library.exports("PlcProgramMain") && m_library.exports("ComponentEntry")) {
    throw std::runtime_error(path +
                             " is a component, not a PLC program; name the component before the programs");
  }
  const auto entry = m_library.function<PlcProgramMainFunction>("PlcProgramMain");
  if (const int refused = entry(&m_runtime, &m_program)) {
    throw std::runtime_error(path + " refuses to start: " + std::to_string(refused));
  }
  for (std::size_t i = 0; i < m_program.taskCount; ++i) {
    if (const PlcTask& task = m_program.tasks[i];
        task.name == nullptr || task.cycle == nullptr || task.periodMilliseconds == 0) {
      throw std::runtime_error(path + ": a task needs a name, a function and a period");
    }
  }
}

PlcApplication::~PlcApplication() {
  stop();
}

void PlcApplication::start() {
  for (std::size_t i = 0; i < m_program.taskCount; ++i) {
    const PlcTask& task = m_program.tasks[i];
    CallMeter& meter = m_monitor.addTask(task.name, task.periodMilliseconds);
    m_tasks.emplace_back(task.name, task.periodMilliseconds, [&task, &meter] {
      meter.use();
      task.cycle(task.state);
    });
  }
}

void PlcApplication::stop() {
  if (m_stopped) {
    return;
  }
  m_stopped = true;
  for (PeriodicThread& task : m_tasks) {
    task.requestStop();
  }
  for (PeriodicThread& task : m_tasks) {
    task.join();
  }
  if (m_program.stop != nullptr) {
    m_program.stop(m_program.state);
  }
}

ExternalFunction PlcApplication::findFunction(void* context, const char* name) {
  const auto* application = static_cast<PlcApplication*>(context);
  const ExternalFunction found = application->m_monitor.find(name);
  if (found == nullptr) {
    HostLog::write("warning",
                   application->m_path + " asks for " + name + ", which the component does not register");
  }
  return found;
}

void PlcApplication::finish(void* context, int status) {
  static_cast<PlcApplication*>(context)->m_finish(status);
}
