#include "RealTime.h"

#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "ChildProcess.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kHogPriority = 10;
constexpr std::chrono::milliseconds kCycle{1};
constexpr double kSlow = 1000;  // microseconds

double microseconds(Clock::duration duration) {
  return std::chrono::duration<double, std::micro>(duration).count();
}

bool granted(bool success, const char* what) {
  if (!success) {
    std::printf("{\"skipped\": \"this system refuses %s\"}\n", what);
    std::fflush(stdout);  // a child process ends without
  }
  return success;
}

bool becomeTask(int priority) {
  sched_param parameters{};
  parameters.sched_priority = priority;
  moveToCore(0);
  return sched_setscheduler(0, SCHED_FIFO, &parameters) == 0;
}

/** The last core that the process may use. */
std::size_t core() {
  static const std::size_t last = [] {
    cpu_set_t cores;
    sched_getaffinity(0, sizeof cores, &cores);
    std::size_t number = CPU_SETSIZE - 1;
    while (!CPU_ISSET(number, &cores)) {
      --number;
    }
    return number;
  }();
  return last;
}

}  // namespace

void print(const std::string& name, double value) {
  std::printf("{\"name\": \"%s\", \"value\": %.3f}\n", name.c_str(), value);
  std::fflush(stdout);  // a child process ends without
}

bool mayUseFifo() {
  bool success = false;
  std::thread([&success] { success = becomeTask(kHogPriority); }).join();
  return granted(success, "SCHED_FIFO");
}

bool lockMemory() {
  return granted(mlockall(MCL_CURRENT | MCL_FUTURE) == 0, "mlockall");
}

void moveToCore(int thread) {
  cpu_set_t cores;
  CPU_ZERO(&cores);
  CPU_SET(core(), &cores);
  if (sched_setaffinity(thread, sizeof cores, &cores) != 0) {
    throw std::runtime_error("a thread cannot be moved to a core");
  }
}

void runAsTask(int priority, const std::function<void()>& work) {
  std::thread([&] {
    if (!becomeTask(priority)) {
      throw std::runtime_error("SCHED_FIFO is refused");
    }
    work();
  }).join();
}

int hubThread() {
  int found = 0;
  // A new thread has the name of its process until it names itself.
  eventually([&found] {
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
      std::string name;
      std::getline(std::ifstream(task.path() / "comm"), name);
      found = name == "tavroline-hub" ? std::stoi(task.path().filename()) : found;
    }
    return found != 0;
  });
  if (found == 0) {
    throw std::runtime_error("the library has no thread of its own");
  }
  return found;
}

void Cycles::run(int priority, int count, const std::function<double(int, double)>& measure) {
  m_values.reserve(m_values.size() + static_cast<std::size_t>(count));
  runAsTask(priority, [&] {
    auto due = Clock::now();
    for (int cycle = 0; cycle < count; ++cycle) {
      due = std::max(due + kCycle, Clock::now());  // a late cycle delays the following ones
      std::this_thread::sleep_until(due);
      m_values.push_back(measure(cycle, microseconds(Clock::now() - due)));
    }
  });
}

double Cycles::quantile(double part) {
  std::sort(m_values.begin(), m_values.end());
  const auto size = static_cast<double>(m_values.size());
  return m_values.at(std::min(m_values.size() - 1, static_cast<std::size_t>(size * part)));
}

int Cycles::slow() const {
  return static_cast<int>(
      std::count_if(m_values.begin(), m_values.end(), [](double value) { return value > kSlow; }));
}

double timeOf(const std::function<void()>& call) {
  const auto start = Clock::now();
  call();
  return microseconds(Clock::now() - start);
}

Hog::Hog(std::chrono::milliseconds busy, std::chrono::milliseconds period)
    : m_thread([this, busy, period] {
        becomeTask(kHogPriority);
        auto due = Clock::now();
        while (!m_stop) {
          // The shift lets a start fall into any moment of the measured task's cycle.
          const std::chrono::microseconds shift(++m_starts * 137 % 1000);
          const auto start = std::max(Clock::now(), due + shift);
          std::this_thread::sleep_until(start);
          while (Clock::now() < start + busy) {
          }
          due += period;
        }
      }) {}

Hog::~Hog() {
  m_stop = true;
  m_thread.join();
}

Library::Library() : m_component(TAVROLINE_LIBRARY) {}
