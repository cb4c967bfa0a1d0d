#pragma once

#include <string>
#include <utility>

/** The call of an external function that the constructing thread is in, as long as this object exists. It
 * tells the log which task's call caused a line. */
class CallScope {
 public:
  /** @param task, function must outlive this object */
  CallScope(const std::string& task, const std::string& function)
      : m_task(task), m_function(function), m_outer(sm_innermost) {
    sm_innermost = this;
  }
  ~CallScope() { sm_innermost = m_outer; }
  CallScope(const CallScope&) = delete;
  CallScope& operator=(const CallScope&) = delete;

  /** "TASK: FUNCTION: " of the calling thread's present call, empty if it is in none. [any-thread] */
  static std::string cause() {
    return sm_innermost == nullptr ? "" : sm_innermost->m_task + ": " + sm_innermost->m_function + ": ";
  }

  /** Replace the calling thread's innermost object, when the thread changes from one task to another.
   * @return the object before. [any-thread] */
  static const CallScope* exchange(const CallScope* innermost) {
    return std::exchange(sm_innermost, innermost);
  }

 private:
  static inline thread_local const CallScope* sm_innermost = nullptr;

  const std::string& m_task;
  const std::string& m_function;
  const CallScope* m_outer;
};
