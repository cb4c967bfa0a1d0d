#pragma once

#include <QByteArray>
#include <memory>

#include "Books.h"
#include "CallWriter.h"
#include "Message.h"

namespace Tavroline {

/**
 * Messages and requests as calls of the list services; the only place that knows methods and their arguments.
 */

/** Where a call goes: the service's unique name on an open bus. */
struct CallTarget {
  sd_bus* bus;
  const char* owner;
};

/** A message's call, sent under the given session. Whether it could be written stands in error(). [hub] */
std::unique_ptr<CallWriter> marshal(const CallTarget& target, const QByteArray& session,
                                    const Message& message);

/** A request's call. [hub] */
std::unique_ptr<CallWriter> marshal(const CallTarget& target, const Request& request);

/** The report of a session's books, to which no reply is expected. [hub] */
std::unique_ptr<CallWriter> marshal(const CallTarget& target, const QByteArray& session, const Books& books);

}  // namespace Tavroline
