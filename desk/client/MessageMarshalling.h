#pragma once

#include <QByteArray>
#include <memory>

#include "Books.h"
#include "CallWriter.h"
#include "Message.h"

namespace Tavroline {

/**
 * Converts messages and requests to method calls of the list services. The client's only place that names
 * those methods and orders their arguments.
 */

/** The receiver of a call: unique name of the service on an open connection. */
struct CallTarget {
  sd_bus* bus;
  const char* owner;
};

/** The call for a message. @param session identifies this hub to the service. The caller checks error().
 * [hub] */
std::unique_ptr<CallWriter> marshal(const CallTarget& target, const QByteArray& session,
                                    const Message& message);

/** The call for a request. [hub] */
std::unique_ptr<CallWriter> marshal(const CallTarget& target, const Request& request);

/** The call that reports the counters of a session; it expects no reply. [hub] */
std::unique_ptr<CallWriter> marshal(const CallTarget& target, const QByteArray& session, const Books& books);

}  // namespace Tavroline
