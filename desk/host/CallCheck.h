#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "tavroline/conventions.h"

/** Writes a warning into the host's log for each misuse that the component accepts without a word: what
 * ParameterCheck finds, and handles that a program has not closed. */
class CallCheck {
 public:
  /** From now on a call whose misuse lets the process read or write outside its memory ends it with this
   * status, and with a sentence on standard error that names task, function and field. Other faults kill the
   * process by their signal. [init] */
  static void endOnFault(int status);

  /** Check a call's structure; the calling thread is in its CallScope. [any-thread] */
  void before(const std::string& function, const void* parameters);
  /** Remember the handle that the call has opened. [any-thread] */
  void after(const std::string& task, const std::string& function, const void* parameters);

  /** Warn of the handles that are open. @return all misuses found. [init] */
  std::uint64_t finish();

 private:
  struct Opened {
    std::string task;
    std::string function;
    std::string field;
  };

  void warn(const std::string& text);

  std::atomic<std::uint64_t> m_found{0};
  std::mutex m_mutex;
  std::map<TavrolineHandle, Opened> m_open;  ///< under the mutex
};
