#pragma once

#include <QString>
#include <map>
#include <vector>

#include "Message.h"

namespace Tavroline {

/**
 * The "on" message of each alarm or fault that is on, kept until its next edge is handed over.
 *
 * When the service's name gets a new owner, the settled ones are sent again (replayed) under their old
 * sequence numbers. A service that kept its store ignores them as repetitions; one that lost it raises the
 * alarms again. The unsettled ones are still in the outbox. The outbox locks; this class does not.
 */
class RaisedAlarms {
 public:
  /** Maximum number of alarms kept. */
  static constexpr std::size_t kAlarms = 16384;

  /** Record the last edge of an alarm. If kAlarms are kept already or memory allocation fails, an "on" is not
   * recorded. [any-thread] */
  void note(const Message& edge) noexcept;

  /** Record that this message was delivered or dropped; ignores one that is not the alarm's recorded "on".
   * [hub] */
  void settle(const Message& message);

  /** Copies of the "on" messages that were delivered or dropped, ordered by sequence number. [hub] */
  std::vector<Message> settled() const;

 private:
  struct Raised {
    Message message;
    bool settled = false;
  };
  std::map<QString, Raised> m_alarms;
};

}  // namespace Tavroline
