#include "HostLog.h"

#include <algorithm>
#include <mutex>

#include "CallScope.h"
#include "RepeatedLines.h"

namespace {

/** What several threads write is under the mutex. No function of a program or the component runs under it. */
struct Log {
  std::mutex mutex;
  LineFile file;
  bool written = true;  ///< the last line
  RepeatedLines lines{[this](const std::string& line) { written = file.write(line); }};
  bool counting = false;
  const LineFile* trace = nullptr;
  std::string mark;
  std::string kept;
};

Log& log() {
  static Log log;
  return log;
}

}  // namespace

void HostLog::toFile(const std::string& path) {
  const std::lock_guard<std::mutex> lock(log().mutex);
  log().file = LineFile(path, "ae", "log file");
}

void HostLog::alsoTo(const LineFile* trace) {
  const std::lock_guard<std::mutex> lock(log().mutex);
  log().trace = trace;
}

bool HostLog::write(const std::string& level, std::string text) {
  // A text with line feeds must not look like two lines.
  std::replace_if(
      text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; },
      ' ');
  const std::string line = level + ' ' + CallScope::cause() + text;
  Log& state = log();
  const std::lock_guard<std::mutex> lock(state.mutex);
  if (!state.mark.empty() && text.find(state.mark) != std::string::npos) {
    state.kept = text;
  }
  if (state.trace != nullptr) {
    state.trace->write(line);
  }
  if (!state.counting) {
    return state.file.write(line);
  }
  state.written = true;
  state.lines.add(line, RepeatedLines::Clock::now());
  return state.written;
}

void HostLog::countRepeated(bool counting) {
  const std::lock_guard<std::mutex> lock(log().mutex);
  log().counting = counting;
  log().lines.end();
}

void HostLog::keepRecord(const std::string& mark) {
  const std::lock_guard<std::mutex> lock(log().mutex);
  log().mark = mark;
}

std::string HostLog::keptRecord() {
  const std::lock_guard<std::mutex> lock(log().mutex);
  return log().kept;
}
