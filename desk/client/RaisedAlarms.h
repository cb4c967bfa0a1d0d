#pragma once

#include <QString>
#include <map>
#include <vector>

#include "Message.h"

namespace Tavroline {

/**
 * The "on" message of each alarm or fault that is on, kept until its "off" is handed over.
 *
 * When a new owner of the service appears, the settled ones are sent again under their old sequence numbers.
 * A service that kept its store ignores them as repetitions; a service that lost it raises the alarms again.
 * The outbox locks; this class does not.
 */
class RaisedAlarms {
 public:
  static constexpr std::size_t kAlarms = 16384;

  /** Record the last edge of an alarm. Beyond kAlarms, or if memory allocation fails, an "on" is not kept.
   * [any-thread] */
  void note(const Message& edge) noexcept;

  /** Record that this message was delivered or dropped. [hub] */
  void settle(const Message& message);

  /** Copies of the settled "on" messages, by sequence number. [hub] */
  std::vector<Message> settled() const;

 private:
  struct Raised {
    Message message;
    bool settled = false;
  };
  std::map<QString, Raised> m_alarms;
};

}  // namespace Tavroline
