#pragma once

#include <QByteArray>
#include <memory>

#include "Books.h"
#include "CallWriter.h"
#include "Message.h"

namespace Tavroline {

/**
 * Converts messages, requests and counters to method calls of the list services. This is the only place in
 * the client that orders the arguments of those methods. The caller checks error() of the result.
 */

/** The receiver of a call: the unique name of the service's owner on an open connection. Both are borrowed.
 */
struct CallTarget {
  sd_bus* bus;
  const char* owner;
};

/** The call for a message. @param session identifies one run of this hub to the service. [hub] */
std::unique_ptr<CallWriter> marshal(const CallTarget& target, const QByteArray& session,
                                    const Message& message);

/** The call for a request. [hub] */
std::unique_ptr<CallWriter> marshal(const CallTarget& target, const Request& request);

/** The call that reports the message counters of a session; it expects no reply. [hub] */
std::unique_ptr<CallWriter> marshal(const CallTarget& target, const QByteArray& session, const Books& books);

}  // namespace Tavroline
