#pragma once

#include <QString>
#include <map>
#include <vector>

#include "Message.h"

namespace Tavroline {

/**
 * The "on" message of each alarm or fault that is on, kept until its "off" is handed over.
 *
 * When the service returns, those that have left the queue are sent again under their old numbers: a service
 * that kept its store takes them as repetitions, one that lost it raises the alarms again. Not locked: the
 * outbox does that.
 */
class RaisedAlarms {
 public:
  static constexpr std::size_t kAlarms = 16384;

  /** Note the last edge of an alarm. Beyond the bound, or without memory, an alarm is not kept. [any-thread]
   */
  void note(const Message& edge) noexcept;

  /** That message has left the queue, delivered or dropped. [hub] */
  void settle(const Message& message);

  /** Copies of the settled "on" messages in the order of their numbers. [hub] */
  std::vector<Message> settled() const;

 private:
  struct Raised {
    Message message;
    bool settled = false;
  };
  std::map<QString, Raised> m_alarms;
};

}  // namespace Tavroline
