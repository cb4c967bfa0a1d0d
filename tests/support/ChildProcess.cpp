#include "ChildProcess.h"

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <system_error>
#include <thread>

bool eventually(const std::function<bool()>& condition, Milliseconds deadline) {
  const auto end = std::chrono::steady_clock::now() + deadline;
  while (!condition()) {
    if (std::chrono::steady_clock::now() >= end) {
      return false;
    }
    std::this_thread::sleep_for(Milliseconds(2));
  }
  return true;
}

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments)
    : m_outputFile(memfd_create("output", MFD_CLOEXEC)) {
  // The child must not allocate between fork and exec, because the test may have threads.
  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);

  m_pid = fork();
  if (m_pid < 0) {
    throw std::system_error(errno, std::generic_category(), "fork");
  }
  if (m_pid > 0) {
    return;
  }
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  dup2(m_outputFile, STDOUT_FILENO);
  dup2(m_outputFile, STDERR_FILENO);
  execvp(argv[0], argv.data());
  _exit(127);
}

ChildProcess::~ChildProcess() {
  kill();
  close(m_outputFile);
}

void ChildProcess::signal(int number) const {
  if (!m_status) {
    ::kill(m_pid, number);
  }
}

void ChildProcess::pause() const {
  signal(SIGSTOP);
  siginfo_t stop{};  // consumed, so that the next pause() waits for its own; an exit is left to wait()
  waitid(P_PID, static_cast<id_t>(m_pid), &stop, WSTOPPED);
}

void ChildProcess::resume() const {
  signal(SIGCONT);
}

void ChildProcess::kill() {
  signal(SIGKILL);
  wait();
}

std::optional<int> ChildProcess::wait(Milliseconds deadline) {
  eventually(
      [this] {
        int status = 0;
        if (!m_status && waitpid(m_pid, &status, WNOHANG) == m_pid) {
          m_status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
        }
        return m_status.has_value();
      },
      deadline);
  return m_status;
}

std::string ChildProcess::output() const {
  std::ifstream file("/proc/self/fd/" + std::to_string(m_outputFile));
  return std::string(std::istreambuf_iterator<char>(file), {});
}
