#include "MessagesObject.h"

#include <QDateTime>

#include <algorithm>
#include <limits>
#include <utility>

using namespace Tavroline::ListServiceNames;
using namespace Tavroline::MessageFormat;

namespace {

constexpr int kOverhead = 512;  // bytes of a waiting call, roughly

constexpr quint64 kLastNumber = std::numeric_limits<qint64>::max() - kMaxBatchMessages;  // of a batch's first

QByteArray readSession(sd_bus_message* call) {
  QByteArray session = readText(call);
  if (session.isEmpty() || session.size() > MessagesObject::kMaxSession) {
    throw CallError("a session has 1 to 255 bytes");
  }
  return session;
}

/** The bytes of a batch, which stay in the call. */
std::string_view readBatch(sd_bus_message* call) {
  const void* bytes = nullptr;
  std::size_t size = 0;
  checkBus(sd_bus_message_read_array(call, SD_BUS_TYPE_BYTE, &bytes, &size));
  return {static_cast<const char*>(bytes), size};
}

/** Counters with unknown names are ignored, missing ones are 0. */
ClientCounters::Values readCounters(sd_bus_message* call) {
  ClientCounters::Values values{};
  const char* name = nullptr;
  quint64 value = 0;
  checkBus(sd_bus_message_enter_container(call, SD_BUS_TYPE_ARRAY, "{st}"));
  while (checkBus(sd_bus_message_read(call, "{st}", &name, &value)) > 0) {
    const auto* const known = std::find(kCounterNames.begin(), kCounterNames.end(), std::string_view(name));
    if (known != kCounterNames.end()) {
      values.at(static_cast<std::size_t>(known - kCounterNames.begin())) = value;
    }
  }
  return values;
}

QByteArrayList readIdentifiers(sd_bus_message* call) {
  QByteArrayList ids;
  const char* id = nullptr;
  checkBus(sd_bus_message_enter_container(call, SD_BUS_TYPE_ARRAY, "s"));
  while (checkBus(sd_bus_message_read(call, "s", &id)) > 0) {
    ids.append(id);
    if (ids.size() > MessagesObject::kMaxReported) {
      throw CallError("the report names too many alarms");
    }
  }
  return ids;
}

void answer(sd_bus_message* call, const Stored& stored) {
  const BusMessage reply = newReply(call);
  checkBus(sd_bus_message_append(reply.get(), "t", stored.upTo));
  checkBus(sd_bus_message_open_container(reply.get(), SD_BUS_TYPE_ARRAY, "(tu)"));
  for (const auto& [number, reason] : stored.refused) {
    checkBus(sd_bus_message_append(reply.get(), "(tu)", number, reason));
  }
  checkBus(sd_bus_message_close_container(reply.get()));
  sendReply(reply);
}

}  // namespace

Sender MessagesObject::Connection::sender(const QByteArray& named) const {
  if (named != session) {
    throw CallError("this connection has not resumed this session", kErrorNotNow);
  }
  return {session, user};
}

template <MessagesObject::Method method>
int MessagesObject::onCall(sd_bus_message* call, void* object, sd_bus_error* /*error*/) {
  auto* const self = static_cast<MessagesObject*>(object);
  return answerCall(call, self->m_service, [&] { (self->*method)(call); });
}

// The table's macros are written for C.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
const sd_bus_vtable MessagesObject::kMethods[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD_WITH_ARGS("Resume", SD_BUS_ARGS("s", session, "s", program),
                            SD_BUS_RESULT("t", stored, "a(tu)", refused), onCall<&MessagesObject::resume>,
                            SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("ReportAlarms", SD_BUS_ARGS("s", session, "as", on), SD_BUS_RESULT("as", missing),
                            onCall<&MessagesObject::reportAlarms>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("RaiseAlarms", SD_BUS_ARGS("s", session, "ay", entries), SD_BUS_RESULT("u", full),
                            onCall<&MessagesObject::raiseAlarms>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("Send", SD_BUS_ARGS("s", session, "t", first, "t", floor, "ay", messages),
                            SD_BUS_RESULT("t", stored, "a(tu)", refused), onCall<&MessagesObject::send>,
                            SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("ReportCounters", SD_BUS_ARGS("s", session, "a{st}", counters), SD_BUS_NO_RESULT,
                            onCall<&MessagesObject::reportCounters>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};
#pragma GCC diagnostic pop

MessagesObject::MessagesObject(sd_bus* bus, ListService& service, SessionExpiry& expiry,
                               ClientCounters& counters)
    : m_bus(bus), m_service(service), m_expiry(expiry), m_counters(counters) {
  checkBus(sd_bus_add_object_vtable(bus, nullptr, kMessagesPath, kMessagesInterface, kMethods, this));
  watchEnds(bus, this);
}

void MessagesObject::resume(sd_bus_message* call) {
  const QByteArray session = readSession(call);
  const QByteArray text = readText(call);
  QByteArray program = MessageReader::fitText(viewOf(text));
  program.detach();
  receive(call, 0, [=](Connection& connection) {
    useSession(connection, session);
    connection.program = program;
    answer(call, m_service.stored(session));
  });
}

void MessagesObject::reportAlarms(sd_bus_message* call) {
  const QByteArray session = readSession(call);
  const QByteArrayList on = readIdentifiers(call);
  receive(call, on.join().size(), [=](Connection& connection) {
    const BusMessage reply = newReply(call);
    appendTexts(reply.get(), m_service.reportAlarms(connection.sender(session), on));
    sendReply(reply);
  });
}

void MessagesObject::raiseAlarms(sd_bus_message* call) {
  const QByteArray session = readSession(call);
  const std::string_view batch = readBatch(call);
  receive(call, static_cast<int>(batch.size()), [=](Connection& connection) {
    const Sender sender = connection.sender(session);
    const quint32 full = m_service.raiseAlarms(sender, MessageReader::read(batch));
    checkBus(sd_bus_reply_method_return(call, "u", full));
  });
}

void MessagesObject::send(sd_bus_message* call) {
  const QByteArray session = readSession(call);
  quint64 first = 0;
  quint64 floor = 0;
  checkBus(sd_bus_message_read(call, "tt", &first, &floor));
  if (first == 0 || first > kLastNumber || floor > kLastNumber) {
    throw CallError("a message's number lies between 1 and 2^63-1");
  }
  const std::string_view batch = readBatch(call);
  receive(call, static_cast<int>(batch.size()), [=](Connection& connection) {
    const Sender sender = connection.sender(session);
    answer(call, m_service.store(sender, first, floor, MessageReader::read(batch)));
  });
}

void MessagesObject::reportCounters(sd_bus_message* call) {
  const QByteArray session = readSession(call);
  const ClientCounters::Values values = readCounters(call);
  receive(call, 0, [=](Connection& connection) {
    const Sender sender = connection.sender(session);
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    m_counters.keep({session, connection.program, sender.user, now, values});
    checkBus(sd_bus_reply_method_return(call, ""));
  });
}

/** Run the work of a call, now or when the connection's user is known. */
void MessagesObject::receive(sd_bus_message* call, int size, Work work) {
  const QByteArray name = sd_bus_message_get_sender(call);
  Connection& connection = m_connections[name];
  if (connection.identified) {
    return work(connection);
  }
  if (connection.query == nullptr) {
    connection.object = this;
    connection.name = name;
    sd_bus_slot* slot = nullptr;
    checkBus(sd_bus_call_method_async(m_bus, &slot, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                      "org.freedesktop.DBus", "GetConnectionUnixUser", onUser, &connection,
                                      "s", name.constData()));
    connection.query.reset(slot);
  }
  size += kOverhead;
  if (connection.waiting.size() == kMaxWaiting || connection.waitingSize + size > kMaxWaitingBytes) {
    throw CallError("too many calls wait until the bus names this connection's user", kErrorNotNow);
  }
  connection.waitingSize += size;
  connection.waiting.push_back({BusMessage(sd_bus_message_ref(call)), std::move(work)});
}

/** The bus names the user of a connection; it answers with an error if that has ended. */
int MessagesObject::onUser(sd_bus_message* reply, void* asked, sd_bus_error* /*error*/) noexcept {
  auto& connection = *static_cast<Connection*>(asked);
  if (sd_bus_message_is_method_error(reply, nullptr) == 0) {
    sd_bus_message_read_basic(reply, SD_BUS_TYPE_UINT32, &connection.user);
  }
  connection.query.reset();
  connection.waitingSize = 0;
  // The bus may fail to name the user of a living connection; its next call asks again then.
  connection.identified = connection.ended || connection.user != SessionStore::kUnknownUser;
  for (const Call& call : std::exchange(connection.waiting, {})) {
    answerCall(call.message.get(), connection.object->m_service, [&] {
      if (!connection.identified) {
        throw CallError("the bus does not name this connection's user", kErrorNotNow);
      }
      call.work(connection);
    });
  }
  if (connection.ended) {
    connection.object->end(QByteArray(connection.name));
  }
  return 1;
}

void MessagesObject::end(const QByteArray& name) noexcept {
  const auto found = m_connections.find(name);
  if (found == m_connections.end()) {
    return;
  }
  if (found->second.query != nullptr) {
    found->second.ended = true;
    return;
  }
  const QByteArray session = found->second.session;
  m_connections.erase(found);
  m_expiry.begin(session);
}

/** A session belongs to the connection that resumed it while that lives, and then to the same unix user. */
void MessagesObject::useSession(Connection& connection, const QByteArray& session) {
  for (const auto& [name, other] : m_connections) {
    if (&other != &connection && other.session == session) {
      throw CallError("another connection uses this session", kErrorNotNow);
    }
  }
  const SessionStore::Session known = m_service.session(session);
  const quint32 owner = known.user != SessionStore::kUnknownUser ? known.user : connection.user;
  if (known.known && (connection.user == SessionStore::kUnknownUser || connection.user != owner)) {
    throw CallError("this session belongs to another user", kErrorNotNow);
  }
  if (connection.session != session) {
    m_expiry.begin(std::exchange(connection.session, session));
  }
  m_expiry.cancel(session);
}
