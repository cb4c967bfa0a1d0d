#include "Broker.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "ListServiceNames.h"

namespace {

constexpr char kBus[] = "org.freedesktop.DBus";
constexpr char kErrors[] = "org.freedesktop.DBus.Error.";
constexpr std::uint32_t kUser = 1000;  // of every connection

const std::string kService = Tavroline::ListServiceNames::kService;

/** The keys and values of a match rule: key='value',... */
std::map<std::string, std::string> ruleOf(const std::string& text) {
  std::map<std::string, std::string> rule;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t equals = text.find("='", at);
    const std::size_t end = text.find('\'', equals + 2);
    if (equals == std::string::npos || end == std::string::npos) {
      break;
    }
    rule[text.substr(at, equals - at)] = text.substr(equals + 2, end - equals - 2);
    at = end + 2;
  }
  return rule;
}

}  // namespace

Broker::Broker(std::uint64_t seed) : m_random(seed) {}

Broker::~Broker() {
  setRunning(false);
}

bool Broker::accept(int descriptor) {
  if (m_running) {
    m_connections[++m_last].descriptor = descriptor;
    Scheduler::instance().wake(this, true);
  }
  return m_running;
}

void Broker::setRunning(bool running) {
  m_running = running;
  if (!running) {
    for (auto& [id, connection] : m_connections) {
      close(connection.descriptor);
    }
    m_connections.clear();
    m_owners.clear();
  }
}

void Broker::cut(const std::string& name) {
  if (isOwned(name)) {
    end(m_owners[name]);
  }
}

void Broker::stop() {
  m_stop = true;
  Scheduler::instance().wake(this, true);
}

void Broker::run() {
  while (!m_stop) {
    const Nanoseconds due = turn();
    std::vector<pollfd> files;
    for (const auto& [id, connection] : m_connections) {
      const bool full = !connection.out.empty() && connection.out.front().due <= 0;
      files.push_back({connection.descriptor, static_cast<short>(full ? POLLIN | POLLOUT : POLLIN), 0});
    }
    Scheduler::instance().pollUntil(files.data(), files.size(), due, this);
    for (auto& [id, connection] : m_connections) {
      const auto file = std::find_if(files.begin(), files.end(), [&connection = connection](const pollfd& f) {
        return f.fd == connection.descriptor && (f.revents & ~POLLOUT) != 0;
      });
      if (file != files.end()) {
        read(id, connection);
      }
    }
  }
}

/** Route and write what is due. @return when something is due next */
Nanoseconds Broker::turn() {
  const Nanoseconds now = Scheduler::instance().now();
  for (;;) {
    // The first of all messages that have arrived by now.
    auto first = m_connections.end();
    for (auto it = m_connections.begin(); it != m_connections.end(); ++it) {
      const auto& in = it->second.in;
      if (!in.empty() && in.front().due <= now &&
          (first == m_connections.end() || in.front().due < first->second.in.front().due)) {
        first = it;
      }
    }
    if (first == m_connections.end()) {
      break;
    }
    const std::string bytes = std::move(first->second.in.front().bytes);
    first->second.in.pop_front();
    route(first->first, WireMessage::parse(bytes));
  }
  Nanoseconds due = kNever;
  for (auto& [id, connection] : m_connections) {
    write(connection);
    for (const auto* const queue : {&connection.in, &connection.out}) {
      due = queue->empty() || queue->front().due <= 0 ? due : std::min(due, queue->front().due);
    }
  }
  for (const Id id : std::exchange(m_broken, {})) {
    end(id);
    due = 0;
  }
  return due;
}

void Broker::read(Id id, Connection& connection) {
  char bytes[65536];
  ssize_t size = 0;
  while ((size = recv(connection.descriptor, bytes, sizeof bytes, 0)) > 0) {
    connection.received.append(bytes, static_cast<std::size_t>(size));
    Scheduler::instance().noteActivity();  // there is room for more
  }
  if (!connection.authenticated) {
    authenticate(connection);
  }
  std::size_t at = 0;
  while (connection.authenticated) {
    const std::string_view rest = std::string_view(connection.received).substr(at);
    const std::size_t length = WireMessage::sizeOf(rest);
    if (length == 0 || length > rest.size()) {
      break;
    }
    enqueue(connection.in, std::string(rest.substr(0, length)));
    at += length;
  }
  connection.received.erase(0, at);
  if (size == 0 || (size < 0 && errno != EAGAIN)) {
    m_broken.insert(id);
  }
}

/** The lines before the first message. */
void Broker::authenticate(Connection& connection) {
  for (std::size_t end = 0; (end = connection.received.find("\r\n")) != std::string::npos;) {
    const std::string line = connection.received.substr(0, end);
    connection.received.erase(0, end + 2);
    if (line == "BEGIN") {
      connection.authenticated = true;
      return;
    }
    const bool question = line.find("AUTH EXTERNAL") != std::string::npos;
    std::string answer = "OK 0123456789abcdef0123456789abcdef\r\n";
    if (question && line.back() == 'L') {
      answer = "DATA\r\n";  // the user's number is still to come
    } else if (line == "NEGOTIATE_UNIX_FD") {
      answer = "AGREE_UNIX_FD\r\n";
    }
    enqueue(connection.out, answer);
  }
}

void Broker::write(Connection& connection) {
  const Nanoseconds now = Scheduler::instance().now();
  while (!connection.out.empty() && connection.out.front().due <= now) {
    Delayed& first = connection.out.front();
    const ssize_t size = send(connection.descriptor, first.bytes.data(), first.bytes.size(), MSG_NOSIGNAL);
    Scheduler::instance().noteActivity();
    if (size < static_cast<ssize_t>(first.bytes.size())) {
      first.bytes.erase(0, size < 0 ? 0 : static_cast<std::size_t>(size));
      first.due = 0;  // the rest as soon as there is room
      return;
    }
    connection.out.pop_front();
  }
}

void Broker::enqueue(std::deque<Delayed>& queue, std::string bytes) {
  const Nanoseconds delay =
      faults.delay == 0 ? 0 : static_cast<Nanoseconds>(m_random() % static_cast<std::uint64_t>(faults.delay));
  const Nanoseconds due = Scheduler::instance().now() + delay;
  queue.push_back({queue.empty() ? due : std::max(due, queue.back().due), std::move(bytes)});
}

void Broker::end(Id id) {
  const auto found = m_connections.find(id);
  if (found == m_connections.end()) {
    return;
  }
  const std::string unique = found->second.name;
  close(found->second.descriptor);
  m_connections.erase(found);
  for (auto it = m_owners.begin(); it != m_owners.end();) {
    if (it->second == id) {
      const std::string name = it->first;
      it = m_owners.erase(it);
      announce(name, unique, "");
    } else {
      ++it;
    }
  }
  announce(unique, unique, "");
  for (auto& [other, caller] : m_connections) {
    for (const auto& [serial, called] : std::exchange(caller.awaited, {})) {
      if (called != id) {
        caller.awaited[serial] = called;
        continue;
      }
      WireMessage call;
      call.serial = serial;
      refuse(other, call, std::string(kErrors) + "NoReply");
    }
  }
}

void Broker::route(Id id, WireMessage message) {
  message.sender = m_connections[id].name;
  if (message.type == WireMessage::Call) {
    routeCall(id, message);
  } else if (message.type == WireMessage::Signal) {
    if (!strikes(faults.signalsLost)) {
      broadcast(message);
    }
  } else {
    routeReply(message);
  }
}

void Broker::routeCall(Id id, const WireMessage& message) {
  if (message.destination == kBus) {
    return answerOwn(id, message);
  }
  Connection& caller = m_connections[id];
  const Id target = find(message.destination);
  const bool wantsReply = (message.flags & WireMessage::kNoReply) == 0;
  if (target == 0) {
    return refuse(id, message, std::string(kErrors) + "ServiceUnknown");
  }
  if (wantsReply && caller.awaited.size() >= faults.replyLimit) {
    return refuse(id, message, std::string(kErrors) + "LimitsExceeded");
  }
  if (strikes(faults.refused)) {
    return refuse(id, message, "org.tavroline.Error.Storm");
  }
  if (wantsReply) {
    caller.awaited[message.serial] = target;
  }
  if (!strikes(faults.unanswered) && !(message.member.rfind("Get", 0) == 0 && strikes(faults.mute))) {
    deliver(target, message);
  }
}

/** A reply that nobody waits for is dropped. */
void Broker::routeReply(const WireMessage& message) {
  const Id target = find(message.destination);
  if (target == 0 || m_connections[target].awaited.erase(message.replySerial) == 0) {
    return;
  }
  const bool confirms = message.signature == "ta(tu)";
  if (strikes(faults.unanswered) || (confirms && strikes(faults.unconfirmed))) {
    m_connections[target].awaited[message.replySerial] = find(message.sender);
    return;
  }
  deliver(target, message);
}

void Broker::broadcast(const WireMessage& message) {
  for (const auto& [id, connection] : m_connections) {
    if (std::any_of(connection.rules.begin(), connection.rules.end(),
                    [&](const Rule& rule) { return matches(rule, message); })) {
      deliver(id, message);
    }
  }
}

void Broker::deliver(Id id, const WireMessage& message) {
  std::string bytes = message.bytes();
  const Nanoseconds now = Scheduler::instance().now();
  const std::size_t hidden = leftOut.empty() ? std::string::npos : bytes.find(leftOut);
  for (const char byte : hidden == std::string::npos ? bytes : bytes.substr(0, hidden)) {
    m_digest = (m_digest ^ static_cast<unsigned char>(byte)) * 1099511628211U;
  }
  m_digest = (m_digest ^ static_cast<std::uint64_t>(now)) * 1099511628211U;
  ++m_delivered;
  enqueue(m_connections[id].out, std::move(bytes));
}

void Broker::refuse(Id caller, const WireMessage& call, const std::string& error) {
  if ((call.flags & WireMessage::kNoReply) == 0) {
    WireMessage reply = own(WireMessage::Error);
    reply.error = error;
    reply.replySerial = call.serial;
    reply.append("refused by the bus");
    deliver(caller, reply);
  }
}

/** A message of the bus itself. */
WireMessage Broker::own(WireMessage::Type type) const {
  WireMessage message;
  message.type = type;
  message.flags = WireMessage::kNoReply;
  message.serial = 1;
  message.sender = kBus;
  return message;
}

void Broker::answerOwn(Id id, const WireMessage& call) {
  WireMessage reply = own(WireMessage::Return);
  const std::string error = own(id, call, reply);
  if (!error.empty()) {
    return refuse(id, call, kErrors + error);
  }
  reply.replySerial = call.serial;
  if ((call.flags & WireMessage::kNoReply) == 0) {
    deliver(id, reply);
  }
}

/** Carry out a call of the bus. @return an error's name, empty if `reply` is the answer */
std::string Broker::own(Id id, const WireMessage& call, WireMessage& reply) {
  Connection& caller = m_connections[id];
  const std::vector<std::string> texts = call.texts();
  const std::string text = texts.empty() ? "" : texts.front();
  if (call.member == "Hello") {
    caller.name = ":1." + std::to_string(id);
    reply.append(caller.name);
  } else if (call.member == "RequestName") {
    const bool given = !isOwned(text);
    if (given) {
      giveName(text, id);
    }
    reply.append(given ? 1U : 3U);
  } else if (call.member == "AddMatch") {
    caller.rules.push_back(ruleOf(text));
  } else if (call.member == "RemoveMatch") {
    const auto found = std::find(caller.rules.begin(), caller.rules.end(), ruleOf(text));
    if (found != caller.rules.end()) {
      caller.rules.erase(found);
    }
  } else if (call.member == "StartServiceByName" && isOwned(text)) {
    reply.append(2U);
  } else if (call.member == "GetNameOwner" && find(text) != 0) {
    reply.append(m_connections[find(text)].name);
  } else if (call.member == "GetConnectionUnixUser" && find(text) != 0) {
    reply.append(kUser);
  } else if (call.member == "StartServiceByName") {
    return "ServiceUnknown";
  } else if (call.member == "GetNameOwner" || call.member == "GetConnectionUnixUser") {
    return "NameHasNoOwner";
  } else {
    return "UnknownMethod";
  }
  return {};
}

void Broker::giveName(const std::string& name, Id id) {
  m_owners[name] = id;
  announce(name, "", m_connections[id].name);
}

void Broker::announce(const std::string& name, const std::string& before, const std::string& after) {
  WireMessage signal = own(WireMessage::Signal);
  signal.path = "/org/freedesktop/DBus";
  signal.interface = kBus;
  signal.member = "NameOwnerChanged";
  signal.append(name);
  signal.append(before);
  signal.append(after);
  broadcast(signal);
}

bool Broker::matches(const Rule& rule, const WireMessage& signal) const {
  return std::all_of(rule.begin(), rule.end(), [&](const auto& pair) {
    const auto& [key, value] = pair;
    if (key == "sender") {
      return signal.sender == value || (find(value) != 0 && find(signal.sender) == find(value));
    }
    if (key.rfind("arg", 0) == 0) {
      const std::vector<std::string> texts = signal.texts();
      const auto index = static_cast<std::size_t>(key[3] - '0');
      return index < texts.size() && texts[index] == value;
    }
    return (key == "type" && value == "signal") || (key == "path" && value == signal.path) ||
           (key == "interface" && value == signal.interface) || (key == "member" && value == signal.member);
  });
}

/** The connection of a unique name or an owned one, 0 if there is none. */
Broker::Id Broker::find(const std::string& name) const {
  if (const auto owner = m_owners.find(name); owner != m_owners.end()) {
    return owner->second;
  }
  const auto found = std::find_if(m_connections.begin(), m_connections.end(),
                                  [&name](const auto& pair) { return pair.second.name == name; });
  return found == m_connections.end() || name.empty() ? 0 : found->first;
}
