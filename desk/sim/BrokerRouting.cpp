#include <algorithm>

#include "Broker.h"

// The messages that the bus passes on, and the calls that it answers itself.

namespace {

constexpr char kBus[] = "org.freedesktop.DBus";
constexpr char kErrors[] = "org.freedesktop.DBus.Error.";
constexpr char kStorm[] = "org.tavroline.Error.Storm";
constexpr std::uint32_t kUser = 1000;  // of every connection

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

void Broker::route(Id id, WireMessage message) {
  message.sender = m_connections[id].name;
  if (message.type == WireMessage::Call) {
    count(message.member);
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
    return refuse(id, message, kStorm);
  }
  if (wantsReply) {
    caller.awaited[message.serial] = target;
  }
  if (!strikes(faults.unanswered) && !(message.member.rfind("Get", 0) == 0 && strikes(faults.mute))) {
    deliver(target, message);
  }
}

void Broker::count(const std::string& method) {
  const Nanoseconds now = Scheduler::instance().now();
  Rate& rate = m_rates[method];
  rate.last.push_back(now);
  while (rate.last.front() <= now - kSecond) {
    rate.last.pop_front();
  }
  rate.most = std::max(rate.most, rate.last.size());
}

std::map<std::string, std::size_t> Broker::busiest() const {
  std::map<std::string, std::size_t> most;
  for (const auto& [method, rate] : m_rates) {
    most[method] = rate.most;
  }
  return most;
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
  if (confirms && strikes(faults.failed)) {
    WireMessage call;
    call.serial = message.replySerial;
    return refuse(target, call, kStorm);
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
  auto& queue = m_connections[id].out;
  enqueue(queue, std::move(bytes));
  if (message.type == WireMessage::Signal) {
    note(message, queue.back().due);
  }
}

void Broker::note(const WireMessage& signal, Nanoseconds due) {
  if (signal.signature != "(bbbb)" && signal.signature != "b") {
    return;
  }
  std::string flags;
  for (std::size_t at = 0; at < signal.body.size(); at += sizeof(std::uint32_t)) {
    flags += signal.body[at] != 0 ? '1' : '0';
  }
  m_flagSignals.push_back({due + Scheduler::instance().wallClock, flags});
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
    const bool given = !isOwned(text) || (faults.nameIsTaken && id > m_owners[text]);
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
  const std::string before = isOwned(name) ? m_connections[m_owners[name]].name : "";
  m_owners[name] = id;
  announce(name, before, m_connections[id].name);
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

/** The connection that has or owns the name; 0 if no connection does. */
Broker::Id Broker::find(const std::string& name) const {
  if (const auto owner = m_owners.find(name); owner != m_owners.end()) {
    return owner->second;
  }
  const auto found = std::find_if(m_connections.begin(), m_connections.end(),
                                  [&name](const auto& pair) { return pair.second.name == name; });
  return found == m_connections.end() || name.empty() ? 0 : found->first;
}
