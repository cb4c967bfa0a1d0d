#include "ServiceWatch.h"

#include <cstring>
#include <string>

#include "CallWriter.h"
#include "ListServiceNames.h"

namespace Tavroline {

using namespace ListServiceNames;

namespace {

constexpr char kBus[] = "org.freedesktop.DBus";
constexpr char kBusPath[] = "/org/freedesktop/DBus";

// Time until a state query is repeated: without a reply, and after an error or a malformed reply.
constexpr std::chrono::milliseconds kUnansweredPause{2000};
constexpr std::chrono::milliseconds kRefusedPause{500};
constexpr std::size_t kMaximumUnanswered = 10;  // for each list

std::string signalRule(const char* path, const char* interface) {
  return std::string("type='signal',sender='") + kService + "',path='" + path + "',interface='" + interface +
         "'";
}

std::string ownerRule() {
  return std::string("type='signal',sender='") + kBus + "',path='" + kBusPath + "',interface='" + kBus +
         "',member='NameOwnerChanged',arg0='" + kService + "'";
}

bool isError(sd_bus_message* reply) {
  return sd_bus_message_is_method_error(reply, nullptr) > 0;
}

}  // namespace

ServiceWatch::ServiceWatch(BusConnection& connection, ListState& state)
    : m_connection(connection),
      m_state(state),
      m_queries{{{kEventListPath, kEventListInterface, &ServiceWatch::readEventListState, {}, {}},
                 {kAlarmListPath, kAlarmListInterface, &ServiceWatch::readAlarmListState, {}, {}}}} {}

void ServiceWatch::start() {
  match(signalRule(kEventListPath, kEventListInterface).c_str(), &ServiceWatch::onEventListSignal);
  match(signalRule(kAlarmListPath, kAlarmListInterface).c_str(), &ServiceWatch::onAlarmListSignal);
  match(ownerRule().c_str(), &ServiceWatch::onNameOwnerChanged);
  findOwner();
}

void ServiceWatch::stop() {
  m_search.reset();
  m_matches.clear();
  setOwner("");
  m_absent = false;
}

bool ServiceWatch::keep(Clock::time_point now) {
  bool answering = true;
  for (StateQuery& query : m_queries) {
    if (!m_owner.isEmpty() && query.due <= now) {
      ask(query, now);
    }
    answering = answering && query.calls.size() <= kMaximumUnanswered;
  }
  return answering;
}

void ServiceWatch::match(const char* rule, void (ServiceWatch::*handler)(sd_bus_message*)) {
  m_matches.push_back(
      m_connection.match(rule, [this, handler](sd_bus_message* signal) { (this->*handler)(signal); }));
}

void ServiceWatch::findOwner() {
  CallWriter call(m_connection.get(), kBus, kBusPath, kBus, "GetNameOwner");
  call.text(QLatin1String(kService));
  m_search = m_connection.call(call.message(), [this](sd_bus_message* reply) {
    const char* owner = nullptr;
    if (!isError(reply) && sd_bus_message_read(reply, "s", &owner) > 0) {
      setOwner(owner);
    } else {
      provokeStart();
    }
  });
}

// A call to the well-known name makes the bus start the service if it can. The signal NameOwnerChanged then
// names the owner.
void ServiceWatch::provokeStart() {
  const CallWriter call(m_connection.get(), kService, kEventListPath, kEventListInterface, "GetState");
  m_search = m_connection.call(call.message(), [this](sd_bus_message* reply) {
    if (isError(reply) && m_owner.isEmpty()) {
      m_absent = true;
    }
  });
}

void ServiceWatch::setOwner(const char* name) {
  m_owner = name;
  m_absent = m_owner.isEmpty();
  for (StateQuery& query : m_queries) {
    query.calls.clear();
    query.due = {};
  }
}

void ServiceWatch::ask(StateQuery& query, Clock::time_point now) {
  query.due = now + kUnansweredPause;
  const CallWriter call(m_connection.get(), m_owner.constData(), query.path, query.interface, "GetState");
  const auto asked = query.calls.emplace(query.calls.end());
  *asked = m_connection.call(call.message(), [this, &query, asked](sd_bus_message* reply) {
    const bool known = !isError(reply) && (this->*query.read)(reply);
    query.due = known ? Clock::time_point::max() : Clock::now() + kRefusedPause;
    query.calls.erase(asked);
  });
}

void ServiceWatch::onNameOwnerChanged(sd_bus_message* signal) {
  // The match rule is not enough: a signal sent to us directly bypasses its sender condition.
  const char* sender = sd_bus_message_get_sender(signal);
  if (sender == nullptr || std::strcmp(sender, kBus) != 0) {
    return;
  }
  const char* name = nullptr;
  const char* before = nullptr;
  const char* after = nullptr;
  if (sd_bus_message_read(signal, "sss", &name, &before, &after) > 0) {
    setOwner(after);
  }
}

bool ServiceWatch::isFromOwner(sd_bus_message* signal) const {
  // A signal that arrives before the owner is known may be dropped: the reply to the first state query
  // contains the change.
  const char* sender = sd_bus_message_get_sender(signal);
  return sender != nullptr && m_owner == sender;
}

void ServiceWatch::onEventListSignal(sd_bus_message* signal) {
  if (isFromOwner(signal) && sd_bus_message_is_signal(signal, nullptr, "Changed") > 0) {
    readEventListState(signal);
  }
}

void ServiceWatch::onAlarmListSignal(sd_bus_message* signal) {
  if (!isFromOwner(signal)) {
    return;
  }
  quint64 generation = 0;
  if (sd_bus_message_is_signal(signal, nullptr, "Changed") > 0) {
    if (sd_bus_message_read(signal, "t", &generation) > 0) {
      m_state.alarms.report(generation);
    }
  } else if (sd_bus_message_is_signal(signal, nullptr, "SummaryChanged") > 0) {
    readSummary(signal);
  } else if (sd_bus_message_is_signal(signal, nullptr, "DetectorChanged") > 0) {
    readDetector(signal);
  }
}

bool ServiceWatch::readEventListState(sd_bus_message* reply) {
  quint64 generation = 0;
  if (sd_bus_message_read(reply, "t", &generation) <= 0) {
    return false;
  }
  m_state.events.report(generation);
  return true;
}

bool ServiceWatch::readAlarmListState(sd_bus_message* reply) {
  quint64 generation = 0;
  if (sd_bus_message_read(reply, "t", &generation) <= 0 || !readSummary(reply) || !readDetector(reply)) {
    return false;
  }
  m_state.alarms.report(generation);
  return true;
}

bool ServiceWatch::readSummary(sd_bus_message* message) {
  std::array<int, 4> flags{};
  if (sd_bus_message_read(message, "(bbbb)", &flags[0], &flags[1], &flags[2], &flags[3]) <= 0) {
    return false;
  }
  for (std::size_t i = 0; i < flags.size(); ++i) {
    m_state.flags[i].store(flags[i] != 0, std::memory_order_relaxed);
  }
  return true;
}

bool ServiceWatch::readDetector(sd_bus_message* message) {
  int state = 0;
  if (sd_bus_message_read(message, "b", &state) <= 0) {
    return false;
  }
  m_state.flags[ListState::CentralDetector].store(state != 0, std::memory_order_relaxed);
  return true;
}

}  // namespace Tavroline
