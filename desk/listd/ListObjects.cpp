#include "ListObjects.h"

#include <QDateTime>

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "BusText.h"
#include "DescriptionText.h"

using namespace Tavroline::ListServiceNames;

namespace {

// Methods of the version before this one, which had no object for writers.
constexpr std::string_view kOldMethods[] = {
    "Log", "Delete", "ReportBooks", "GetBooks", "AcknowledgeAlarms", "AcknowledgeDetector"};

/** Append a list. sd-bus refuses one with a text that was damaged after it was stored: that is made fit. */
void appendList(sd_bus_message* reply, const QByteArray& list) {
  if (sd_bus_message_append_basic(reply, SD_BUS_TYPE_STRING, list.constData()) < 0) {
    const QByteArray fit = Tavroline::busText(QString::fromUtf8(list)).toUtf8();
    if (fit.size() > ListJson::kMaxSize) {
      throw StorageError("too many texts of the list are damaged");
    }
    appendText(reply, fit);
  }
}

}  // namespace

template <ListObjects::Answer answer>
int ListObjects::onQuery(sd_bus_message* call, void* object, sd_bus_error* /*error*/) {
  static_cast<ListObjects*>(object)->run(call, answer);
  return 1;
}

template <ListObjects::Answer answer>
int ListObjects::onListQuery(sd_bus_message* call, void* object, sd_bus_error* /*error*/) {
  auto* const self = static_cast<ListObjects*>(object);
  return answerCall(call, self->m_service, [&] { self->enqueue(call, answer); });
}

// The table's macros are written for C.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
const sd_bus_vtable ListObjects::kEventMethods[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD_WITH_ARGS("GetList", SD_BUS_ARGS("s", language, "u", count), SD_BUS_RESULT("s", list),
                            onListQuery<&ListObjects::getEvents>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("GetEntries", SD_BUS_ARGS("t", epoch, "x", after, "u", count, "s", language),
                            SD_BUS_RESULT("t", epoch, "x", oldest, "x", last, "s", list),
                            onListQuery<&ListObjects::getEntries>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("GetLanguages", SD_BUS_NO_ARGS, SD_BUS_RESULT("as", languages),
                            onQuery<&ListObjects::getLanguages>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("GetState", SD_BUS_NO_ARGS, SD_BUS_RESULT("t", generation),
                            onQuery<&ListObjects::getEventState>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("GetTimeZone", SD_BUS_NO_ARGS, SD_BUS_RESULT("i", offset),
                            onQuery<&ListObjects::getTimeZone>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("GetStatistics", SD_BUS_NO_ARGS, SD_BUS_RESULT("a{st}", counters),
                            onQuery<&ListObjects::getStatistics>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("GetCounters", SD_BUS_NO_ARGS, SD_BUS_RESULT("a(suxa{st})", clients),
                            onQuery<&ListObjects::getCounters>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_SIGNAL_WITH_ARGS("Changed", SD_BUS_ARGS("t", generation), 0),
    SD_BUS_VTABLE_END,
};

const sd_bus_vtable ListObjects::kAlarmMethods[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD_WITH_ARGS("GetList", SD_BUS_ARGS("s", language), SD_BUS_RESULT("s", list),
                            onListQuery<&ListObjects::getAlarms>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("GetAlarmState", SD_BUS_ARGS("s", alarm_id), SD_BUS_RESULT("s", state),
                            onQuery<&ListObjects::getAlarmState>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD_WITH_ARGS("GetState", SD_BUS_NO_ARGS,
                            SD_BUS_RESULT("t", generation, "(bbbb)", summary, "b", detector),
                            onQuery<&ListObjects::getAlarmListState>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_SIGNAL_WITH_ARGS("Changed", SD_BUS_ARGS("t", generation), 0),
    SD_BUS_SIGNAL_WITH_ARGS("SummaryChanged", SD_BUS_ARGS("(bbbb)", summary), 0),
    SD_BUS_SIGNAL_WITH_ARGS("DetectorChanged", SD_BUS_ARGS("b", state), 0),
    SD_BUS_VTABLE_END,
};
#pragma GCC diagnostic pop

ListObjects::ListObjects(sd_bus* bus, ListService& service, const ClientCounters& counters)
    : m_service(service), m_counters(counters), m_signals(bus, service) {
  for (const char* path : {kEventListPath, kAlarmListPath}) {
    checkBus(sd_bus_add_object(bus, nullptr, path, onAnyCall, this));
  }
  checkBus(sd_bus_add_object_vtable(bus, nullptr, kEventListPath, kEventListInterface, kEventMethods, this));
  checkBus(sd_bus_add_object_vtable(bus, nullptr, kAlarmListPath, kAlarmListInterface, kAlarmMethods, this));
  watchEnds(bus, this);
}

void ListObjects::endTurn() {
  if (!m_queries.empty()) {
    const Query query = std::move(m_queries.front());
    m_queries.pop_front();
    run(query.call.get(), query.answer);
  }
  m_signals.emitDue();
}

void ListObjects::end(const QByteArray& name) noexcept {
  m_oldPeers.erase(name);
  const auto isTheirs = [&](const Query& query) {
    return name == sd_bus_message_get_sender(query.call.get());
  };
  m_queries.erase(std::remove_if(m_queries.begin(), m_queries.end(), isTheirs), m_queries.end());
}

/** Answer a query; the signals of all changes that it may show go first. */
void ListObjects::run(sd_bus_message* call, Answer answer) {
  m_signals.emitNow();
  answerCall(call, m_service, [&] {
    const BusMessage reply = newReply(call);
    (this->*answer)(call, reply.get());
    sendReply(reply);
  });
}

void ListObjects::enqueue(sd_bus_message* call, Answer answer) {
  const QByteArray sender = sd_bus_message_get_sender(call);
  const auto waiting = std::count_if(m_queries.begin(), m_queries.end(), [&sender](const Query& query) {
    return sender == sd_bus_message_get_sender(query.call.get());
  });
  if (waiting >= kMaxWaiting) {
    throw CallError("four list queries of this connection wait already", SD_BUS_ERROR_LIMITS_EXCEEDED);
  }
  m_queries.push_back({BusMessage(sd_bus_message_ref(call)), answer});
}

/** sd-bus calls this before it looks for the method. */
int ListObjects::onAnyCall(sd_bus_message* call, void* object, sd_bus_error* /*error*/) {
  const char* const member = sd_bus_message_get_member(call);
  if (std::find(std::begin(kOldMethods), std::end(kOldMethods), member) == std::end(kOldMethods)) {
    return 0;
  }
  auto* const self = static_cast<ListObjects*>(object);
  return answerCall(call, self->m_service, [&] { self->refuseOldMethod(call); });
}

void ListObjects::refuseOldMethod(sd_bus_message* call) {
  const char* const sender = sd_bus_message_get_sender(call);
  if (m_oldPeers.insert(sender).second) {
    std::fprintf(
        stderr,
        "tavroline-listd: %s calls %s of the interface's version before Messages1; use programs of the "
        "same version\n",
        sender, sd_bus_message_get_member(call));
  }
  throw CallError("this method is of an older version of the interface; use programs of the same version",
                  kErrorVersion);
}

void ListObjects::getEvents(sd_bus_message* call, sd_bus_message* reply) {
  const QByteArray language = readText(call);
  quint32 count = 0;
  checkBus(sd_bus_message_read_basic(call, SD_BUS_TYPE_UINT32, &count));
  appendList(reply, m_service.events().list(count, language));
}

void ListObjects::getEntries(sd_bus_message* call, sd_bus_message* reply) {
  quint64 epoch = 0;
  int64_t after = 0;
  quint32 count = 0;
  checkBus(sd_bus_message_read(call, "txu", &epoch, &after, &count));
  const QByteArray language = readText(call);
  EventStore& events = m_service.events();
  // A number that was never used here is of a newer copy of this list.
  const qint64 start = epoch == m_service.epoch() && after <= events.newest() ? after : 0;
  const EventStore::Page page = events.page(start, qMin(count, kMaxPage), language);
  checkBus(sd_bus_message_append(reply, "txx", m_service.epoch(), events.oldest(), qMax(start, page.last)));
  appendList(reply, page.list);
}

void ListObjects::getLanguages(sd_bus_message* /*call*/, sd_bus_message* reply) {
  appendTexts(reply, DescriptionText::languages());
}

void ListObjects::getEventState(sd_bus_message* /*call*/, sd_bus_message* reply) {
  checkBus(sd_bus_message_append(reply, "t", m_service.snapshot().eventGeneration));
}

void ListObjects::getTimeZone(sd_bus_message* /*call*/, sd_bus_message* reply) {
  checkBus(sd_bus_message_append(reply, "i", QDateTime::currentDateTime().offsetFromUtc()));
}

void ListObjects::getStatistics(sd_bus_message* /*call*/, sd_bus_message* reply) {
  const Counters c = m_service.counters();
  checkBus(sd_bus_message_append(reply, "a{st}", 9U, "entries", c.entries, "capacity", c.capacity, "stored",
                                 c.stored, "overwritten", c.overwritten, "duplicates", c.duplicates,
                                 "rejected", c.rejected, "sessions", c.sessions, "otherVersion",
                                 quint64{m_oldPeers.size()}, "unreadable", m_service.events().unreadable()));
}

void ListObjects::getCounters(sd_bus_message* /*call*/, sd_bus_message* reply) {
  checkBus(sd_bus_message_open_container(reply, SD_BUS_TYPE_ARRAY, "(suxa{st})"));
  for (const ClientCounters::Report& report : m_counters.reports()) {
    checkBus(sd_bus_message_open_container(reply, SD_BUS_TYPE_STRUCT, "suxa{st}"));
    checkBus(sd_bus_message_append(reply, "sux", report.program.constData(), report.user, report.time));
    checkBus(sd_bus_message_open_container(reply, SD_BUS_TYPE_ARRAY, "{st}"));
    for (std::size_t i = 0; i < kCounterNames.size(); ++i) {
      checkBus(sd_bus_message_append(reply, "{st}", kCounterNames.at(i), report.values.at(i)));
    }
    checkBus(sd_bus_message_close_container(reply));
    checkBus(sd_bus_message_close_container(reply));
  }
  checkBus(sd_bus_message_close_container(reply));
}

void ListObjects::getAlarms(sd_bus_message* call, sd_bus_message* reply) {
  appendList(reply, m_service.alarms().list(readText(call)));
}

void ListObjects::getAlarmState(sd_bus_message* call, sd_bus_message* reply) {
  appendText(reply, m_service.alarms().alarmState(readText(call)));
}

void ListObjects::getAlarmListState(sd_bus_message* /*call*/, sd_bus_message* reply) {
  const ListSnapshot state = m_service.snapshot();
  const AlarmSummary& s = state.summary;
  checkBus(sd_bus_message_append(reply, "t(bbbb)b", state.alarmGeneration, s[0], s[1], s[2], s[3],
                                 int{state.detector}));
}
