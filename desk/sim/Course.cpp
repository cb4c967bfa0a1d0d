#include "Course.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <utility>

#include "HostLog.h"
#include "Interposed.h"
#include "ListServiceNames.h"

namespace {

constexpr char kHub[] = "tavroline-hub";  // the client's thread
constexpr Nanoseconds kStep = kSecond;    // between two looks at signals and progress
constexpr Nanoseconds kDay = 86400 * kSecond;
constexpr std::int64_t kShowEvery = kSecond / 5;
// The service's grace time for alarms, and the longest stop of the service before it.
constexpr Nanoseconds kOrphaned = 100 * kSecond;
// After a failed batch the client pauses before the next one.
constexpr Nanoseconds kStoragePause = 5 * kSecond / 2;

volatile std::sig_atomic_t s_interrupted = 0;

std::string clockText(Nanoseconds time) {
  char text[32];
  const Nanoseconds seconds = time / kSecond;
  std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld", static_cast<long long>(seconds / 3600),
                static_cast<long long>(seconds / 60 % 60), static_cast<long long>(seconds % 60));
  return text;
}

Nanoseconds wallTime() {
  return Scheduler::instance().now() + Scheduler::instance().wallClock;
}

/** What a fault that lasts makes the bus do. */
void addTo(BusFaults& bus, const Fault& fault) {
  bus.delay = fault.kind == Fault::Late ? fault.amount * kMillisecond : bus.delay;
  bus.signalsLost = fault.kind == Fault::SignalsLost ? fault.amount : bus.signalsLost;
  bus.replyLimit = fault.kind == Fault::Limit ? fault.amount : bus.replyLimit;
  bus.refused = fault.kind == Fault::Refused ? fault.amount : bus.refused;
  bus.unanswered = fault.kind == Fault::Unanswered ? fault.amount : bus.unanswered;
  bus.unconfirmed = fault.kind == Fault::Unconfirmed ? fault.amount : bus.unconfirmed;
  bus.failed = fault.kind == Fault::Failed ? fault.amount : bus.failed;
  bus.mute = fault.kind == Fault::Mute ? fault.amount : bus.mute;
}

}  // namespace

Course::Course(const SimOptions& options)
    : m_options(options),
      m_plan(
          FaultPlan::draw(options.faults, options.seed, static_cast<Nanoseconds>(options.seconds) * kSecond)),
      m_broker(options.seed),
      m_bus(Scheduler::instance().start(
          Broker::kFibre, [this] { m_broker.run(); }, false)),
      m_service(m_broker, options.capacity),
      m_begun(Interposed::machineTime()) {
  Interposed::onConnect([this](int descriptor) { return m_broker.accept(descriptor); });
  std::signal(SIGINT, [](int) { s_interrupted = 1; });
  for (std::size_t i = m_plan.size(); i > 0 && !options.only.empty(); --i) {
    if (std::count(options.only.begin(), options.only.end(), i) == 0) {
      m_plan[i - 1].begin = kNever;
    }
  }
  m_service.start();
  m_component = std::make_unique<ComponentManager>(options.files.component);
  CallMonitor::Options monitoring;
  monitoring.metering = true;
  m_monitor = std::make_unique<CallMonitor>(*m_component, monitoring);
  for (const std::string& program : options.files.programs) {
    m_applications.emplace_back(program, *m_monitor,
                                [this, program](int status) { noteFinish(program, status); });
  }
  m_hook = std::make_unique<PeriodicThread>("hook", options.cycleMilliseconds,
                                            [this] { m_component->communicationCycle(); });
  for (PlcApplication& application : m_applications) {
    application.start();
  }
}

Course::~Course() {
  unload();
  m_service.kill();
  m_broker.stop();
  Scheduler::instance().join(m_bus);
  Interposed::onConnect(nullptr);
}

bool Course::run() {
  const Nanoseconds start = Scheduler::instance().now();
  m_end = start + static_cast<Nanoseconds>(m_options.seconds) * kSecond;
  if (m_options.faults != "none") {
    if (!runFaults(start)) {
      return false;
    }
    endFaults();
    if (!m_options.recordFolder.empty()) {
      std::ofstream(m_options.recordFolder + "/returned");
    }
    m_end = Scheduler::instance().now() + kHealthy;
    waitHealthy(m_end);
  }
  waitUntil(m_end);
  if (m_shown != 0) {
    std::fputc('\n', stderr);
  }
  return true;
}

/** From now on nothing fails and nobody is held back. */
void Course::endFaults() {
  m_active.clear();
  Scheduler::holdBack(m_bus, 0);
  m_service.hold(0);
  for (Scheduler::Fibre* task : Scheduler::instance().periodicThreads()) {
    Scheduler::holdBack(task, 0);
  }
  apply();
}

/** Let the faults begin and end at their times. @return false if one is the unloading */
bool Course::runFaults(Nanoseconds start) {
  auto next = m_plan.begin();
  for (;;) {
    while (next != m_plan.end() && next->begin == kNever) {
      ++next;
    }
    Nanoseconds time = next == m_plan.end() ? m_end : start + next->begin;
    for (const Fault* fault : m_active) {
      time = std::min(time, start + fault->end);
    }
    waitUntil(std::min(time, m_end));
    if (time >= m_end || s_interrupted != 0) {
      return true;
    }
    const Nanoseconds past = time - start;
    m_active.erase(std::remove_if(m_active.begin(), m_active.end(),
                                  [past](const Fault* fault) { return fault->end <= past; }),
                   m_active.end());
    if (next != m_plan.end() && next->begin <= past) {
      if (next->kind == Fault::Unload) {
        return false;
      }
      begin(*next);
      m_active.push_back(&*next++);
    }
    apply();
  }
}

/** Wait, and show the progress on a terminal. */
void Course::waitUntil(Nanoseconds time) {
  while (Scheduler::instance().now() < time && s_interrupted == 0) {
    Scheduler::instance().waitUntil(std::min(time, Scheduler::instance().now() + kStep));
    const std::int64_t machine = Interposed::machineTime();
    if (m_options.recordFolder.empty() && machine - m_shown > kShowEvery && isatty(STDERR_FILENO) != 0) {
      m_shown = machine;
      const Nanoseconds now = Scheduler::instance().now();
      std::fprintf(stderr, "\r%s of %s, %.0f times as fast as the clock ", clockText(now).c_str(),
                   clockText(m_end).c_str(),
                   static_cast<double>(now) / static_cast<double>(machine - m_begun));
    }
  }
}

/** Wait without faults. A service that did not get its name before the faults ended is started again within a
 * second. */
void Course::waitHealthy(Nanoseconds time) {
  while (Scheduler::instance().now() < time && s_interrupted == 0) {
    waitUntil(std::min(time, Scheduler::instance().now() + kSecond));
    m_service.start();
  }
}

/** What happens once, when the fault begins. */
void Course::begin(const Fault& fault) {
  Scheduler& scheduler = Scheduler::instance();
  const Nanoseconds end = scheduler.now() + fault.end - fault.begin;
  switch (fault.kind) {
    case Fault::BusStopped:
      return Scheduler::holdBack(m_bus, end);
    case Fault::Stopped:
      return m_service.hold(end);
    case Fault::Emptied:
    case Fault::Older:
      m_service.kill();
      return m_service.loseStore(fault.kind == Fault::Older);
    case Fault::Replaced:
      return m_service.replace();
    case Fault::Cut:
      return m_broker.cutAllBut(Tavroline::ListServiceNames::kService);
    case Fault::DiskFull:
      return m_unable.emplace_back(wallTime(), wallTime() + fault.end - fault.begin + kStoragePause), void();
    case Fault::ClockStep:
    case Fault::ClockBack:
      scheduler.wallClock += Nanoseconds{fault.amount} * (fault.kind == Fault::ClockStep ? kDay : -kDay);
      return;
    case Fault::Silent:
      if (const auto tasks = scheduler.periodicThreads(); !tasks.empty()) {
        Scheduler::holdBack(tasks[fault.amount % tasks.size()], end);
      }
      return;
    case Fault::NoMemory:
      return scheduler.failAllocation(kHub, fault.amount);
    default:
      return;
  }
}

/** Bring bus and service into the state that the active faults together mean. */
void Course::apply() {
  BusFaults bus;
  bool busGone = false;
  bool killed = false;
  bool full = false;
  for (const Fault* fault : m_active) {
    addTo(bus, *fault);
    busGone = busGone || fault->kind == Fault::BusGone;
    bus.nameIsTaken = bus.nameIsTaken || fault->kind == Fault::Replaced;
    full = full || fault->kind == Fault::DiskFull;
    killed = killed || fault->kind == Fault::Killed || fault->kind == Fault::Emptied ||
             fault->kind == Fault::Older;
  }
  m_broker.faults = bus;
  Interposed::fillDisk(full);
  if (busGone || killed) {
    m_service.kill();
  }
  if (!bus.nameIsTaken) {
    m_service.endReplaced();
  }
  m_broker.setRunning(!busGone);
  if (!busGone && !killed) {
    m_service.start();
  }
}

void Course::outliveUnload() {
  endFaults();
  waitHealthy(Scheduler::instance().now() + kOrphaned);
}

void Course::stopPrograms() {
  for (PlcApplication& application : m_applications) {
    application.stop();
  }
  m_hook.reset();
}

void Course::unload() {
  m_applications.clear();
  m_hook.reset();
  Scheduler::instance().failAllocation(kHub, 0);
  m_monitor.reset();
  m_component.reset();
}

/** Note the program's first wish to end. */
void Course::noteFinish(const std::string& program, int status) {
  if (!m_finished.insert(program).second) {
    return;
  }
  HostLog::write("note",
                 program + " asks for the end with status " + std::to_string(status) + "; the run goes on");
}
