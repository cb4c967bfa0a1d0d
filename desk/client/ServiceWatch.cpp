#include "ServiceWatch.h"

#include <QDateTime>
#include <algorithm>
#include <cstring>
#include <string>

#include "ClientLog.h"
#include "ListServiceNames.h"

namespace Tavroline {

using namespace ListServiceNames;

namespace {

constexpr char kBus[] = "org.freedesktop.DBus";
constexpr char kBusPath[] = "/org/freedesktop/DBus";

// Pause before a query is repeated after an error reply or a malformed reply.
constexpr std::chrono::milliseconds kRepeatPause{500};

// Shortest and longest pause before the bus is asked again to start the service.
constexpr std::chrono::milliseconds kFirstStartPause{250};
constexpr std::chrono::seconds kLongestStartPause{30};
// If the service ends within this time after its start, the pause before the next start grows.
constexpr std::chrono::seconds kLongLife{10};

std::string signalRule(const char* path, const char* interface) {
  return std::string("type='signal',sender='") + kService + "',path='" + path + "',interface='" + interface +
         "'";
}

std::string ownerRule() {
  return std::string("type='signal',sender='") + kBus + "',path='" + kBusPath + "',interface='" + kBus +
         "',member='NameOwnerChanged',arg0='" + kService + "'";
}

bool readGeneration(sd_bus_message* message, ListChanges& list) {
  quint64 generation = 0;
  if (sd_bus_message_read(message, "t", &generation) <= 0) {
    return false;
  }
  list.report(generation);
  return true;
}

}  // namespace

ServiceWatch::ServiceWatch(BusConnection& connection, ListState& state)
    : m_connection(connection),
      m_state(state),
      m_queries{{{{kEventListPath, kEventListInterface, "GetState"}, &ServiceWatch::readEventListState},
                 {{kAlarmListPath, kAlarmListInterface, "GetState"}, &ServiceWatch::readAlarmListState},
                 {{kEventListPath, kEventListInterface, "GetTimeZone"}, &ServiceWatch::readTimeZone}}} {}

void ServiceWatch::start() {
  m_new = true;
  m_nextStart = {};
  match(signalRule(kEventListPath, kEventListInterface).c_str(), &ServiceWatch::onListSignal);
  match(signalRule(kAlarmListPath, kAlarmListInterface).c_str(), &ServiceWatch::onListSignal);
  match(ownerRule().c_str(), &ServiceWatch::onNameOwnerChanged);
  findOwner();
}

void ServiceWatch::stop() noexcept {
  m_search.reset();
  m_matches.clear();
  setOwner({});
}

void ServiceWatch::activateService(Clock::time_point now, bool needed) {
  if (!isAbsent() || now < m_nextStart || (!needed && !m_new)) {
    return;
  }
  m_new = false;
  m_startPause = std::clamp<Clock::duration>(m_startPause * 2, kFirstStartPause, kLongestStartPause);
  m_nextStart = now + m_startPause;
  const BusMessage call =
      m_connection.write(kBus, {kBusPath, kBus, "StartServiceByName"}, "su", kService, quint32{0});
  m_search = m_connection.call(call, [this](sd_bus_message* reply) {
    m_search.reset();
    if (!isError(reply) && m_owner.isEmpty()) {
      findOwner();
    }
  });
}

void ServiceWatch::sendDueQueries(Clock::time_point now) {
  for (StateQuery& query : m_queries) {
    if (!m_owner.isEmpty() && query.call == nullptr && query.due <= now) {
      ask(query);
    }
  }
}

void ServiceWatch::match(const char* rule, void (ServiceWatch::*handler)(sd_bus_message*)) {
  m_matches.push_back(
      m_connection.match(rule, [this, handler](sd_bus_message* signal) { (this->*handler)(signal); }));
}

void ServiceWatch::findOwner() {
  const BusMessage call = m_connection.write(kBus, {kBusPath, kBus, "GetNameOwner"}, "s", kService);
  m_search = m_connection.call(call, [this](sd_bus_message* reply) {
    m_search.reset();
    const char* owner = nullptr;
    if (!isError(reply) && sd_bus_message_read(reply, "s", &owner) > 0) {
      setOwner(owner);
    }
  });
}

void ServiceWatch::setOwner(const QByteArray& name) {
  const auto now = Clock::now();
  if (!m_owner.isEmpty() && now - m_ownedSince >= kLongLife) {
    m_startPause = {};
    m_nextStart = {};
  }
  m_owner = name;
  m_ownedSince = now;
  for (StateQuery& query : m_queries) {
    query.call.reset();
    query.due = {};
  }
}

void ServiceWatch::ask(StateQuery& query) {
  const BusMessage call = m_connection.write(m_owner.constData(), query.method, "");
  query.call = m_connection.call(call, [this, &query](sd_bus_message* reply) {
    const bool known = isError(reply, SD_BUS_ERROR_UNKNOWN_METHOD) ||  // from a service of another version
                       (!isError(reply) && (this->*query.read)(reply));
    query.due = known ? Clock::time_point::max() : Clock::now() + kRepeatPause;
    query.call.reset();
  });
}

void ServiceWatch::onNameOwnerChanged(sd_bus_message* signal) {
  // The match rule is not enough: a signal sent to this connection directly bypasses the rule's sender
  // condition.
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

void ServiceWatch::onListSignal(sd_bus_message* signal) {
  const auto is = [signal](const char* interface, const char* name) {
    return sd_bus_message_is_signal(signal, interface, name) > 0;
  };
  const char* sender = sd_bus_message_get_sender(signal);
  if (sender == nullptr || m_owner != sender) {
    return;  // the signal is not from the known owner; a new owner's state is queried
  }
  if (is(kEventListInterface, "Changed")) {
    readGeneration(signal, m_state.events);
  } else if (is(kAlarmListInterface, "Changed")) {
    readGeneration(signal, m_state.alarms);
  } else if (is(kAlarmListInterface, "SummaryChanged")) {
    readSummary(signal);
  } else if (is(kAlarmListInterface, "DetectorChanged")) {
    readDetector(signal);
  }
}

bool ServiceWatch::readEventListState(sd_bus_message* reply) {
  return readGeneration(reply, m_state.events);
}

bool ServiceWatch::readAlarmListState(sd_bus_message* reply) {
  return readGeneration(reply, m_state.alarms) && readSummary(reply) && readDetector(reply);
}

bool ServiceWatch::readTimeZone(sd_bus_message* reply) {
  int offset = 0;
  if (sd_bus_message_read(reply, "i", &offset) <= 0) {
    return false;
  }
  const int own = QDateTime::currentDateTime().offsetFromUtc();
  if (offset != own && !m_zoneTold) {
    m_zoneTold = true;
    clientLog(
        CLIENT_LOG_ORIGIN("ServiceWatch"),
        QStringLiteral("the list service's time zone differs from this program's: %1 s and %2 s from UTC;"
                       " filters by time take the service's times for local ones")
            .arg(offset)
            .arg(own)
            .toUtf8());
  }
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
