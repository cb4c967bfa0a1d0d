#include "Requests.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>

#include "BusText.h"
#include "ListServiceNames.h"
#include "ReplyCheck.h"

namespace Tavroline {

using namespace ListServiceNames;

namespace {

// Maximum number of calls without a reply, including calls whose request has ended. A system bus with default
// limits allows a connection 128 such calls. MessageSender and ServiceWatch need the rest.
constexpr std::size_t kWindow = 32;
constexpr std::chrono::seconds kRequestDeadline{10};
// Maximum lengths of a reply with an alarm's state and of a reply with a list, in bytes. They are bounded
// because the component parses replies on a PLC task.
constexpr std::size_t kMaximumStateBytes = 65536;
constexpr std::size_t kMaximumListBytes = 16U << 20U;

BusMessage write(const BusConnection& connection, const char* owner, const Request& request) {
  const char* text = request.text.data();
  switch (request.kind) {
    case RequestKind::EventList:
      return connection.write(owner, {kEventListPath, kEventListInterface, "GetList"}, "su", text,
                              request.count);
    case RequestKind::AlarmList:
      return connection.write(owner, {kAlarmListPath, kAlarmListInterface, "GetList"}, "s", text);
    case RequestKind::AlarmState:
      break;
  }
  return connection.write(owner, {kAlarmListPath, kAlarmListInterface, "GetAlarmState"}, "s", text);
}

void settle(RequestSlot& slot, sd_bus_message* reply) {
  if (isError(reply)) {
    return slot.fail(errorText(reply).constData());
  }
  const bool isList = slot.request.kind != RequestKind::AlarmState;
  const char* text = nullptr;
  if (sd_bus_message_read(reply, "s", &text) <= 0 ||
      std::strlen(text) > (isList ? kMaximumListBytes : kMaximumStateBytes)) {
    return slot.fail("the list service answered in an unknown form");
  }
  if (const char* fault = ReplyCheck::fault(text); fault != nullptr) {
    return slot.fail(("the list service's answer " + QByteArray(fault)).constData());
  }
  slot.arrive(QByteArray(text));
}

}  // namespace

DBusPendingReply::SharedPointer Requests::accept(RequestKind kind, const QString& text, quint32 count,
                                                 quint64 behind) noexcept {
  using Private = DBusPendingReply::Private;
  try {
    const QByteArray bytes = busText(text).toUtf8();
    if (static_cast<std::size_t>(bytes.size()) >= Request().text.size()) {
      return Private::failed("the text of the request is too long");
    }
    auto state = std::make_unique<Private>("too many outstanding requests");
    const auto [slot, ticket] = claim();
    if (slot == nullptr) {
      return Private::share(std::move(state));
    }
    state->slot = slot;  // from here on, an exception releases the slot
    state->ticket = ticket;
    slot->request = {kind, count, behind, Clock::now() + kRequestDeadline, {}, false};
    std::copy_n(bytes.constData(), bytes.size(), slot->request.text.begin());
    auto reply = Private::share(std::move(state));
    slot->publish(ticket);
    return reply;
  } catch (const std::bad_alloc&) {
    return {};
  }
}

// Claims a free slot. If no slot is free, claims a slot that holds a result which no task has taken.
std::pair<RequestSlot*, RequestSlot::Ticket> Requests::claim() noexcept {
  for (const bool unread : {false, true}) {
    for (RequestSlot& slot : m_slots) {
      if (const RequestSlot::Ticket ticket = slot.claim(unread); ticket != 0) {
        return {&slot, ticket};
      }
    }
  }
  return {};
}

bool Requests::hasUnsent() const {
  return std::any_of(m_slots.begin(), m_slots.end(),
                     [](const RequestSlot& s) { return s.isOpen() && !s.isReleased() && !s.request.sent; });
}

bool Requests::send(BusConnection& connection, const QByteArray& owner, const MessageQueue& queue,
                    bool overtake) {
  bool any = false;
  for (RequestSlot& slot : m_slots) {
    if (m_calls.size() >= kWindow || !slot.isOpen() || slot.request.sent) {
      continue;
    }
    // `behind` is the number of the last message that was handed over before the request. PLC tasks put
    // messages into the queue before they publish the request; this thread reads the slot before the queue.
    // So this thread finds all these messages in the queue. confirmed() may stay below `behind`, because
    // `behind` also counts edges in the overflow, and an edge that is superseded there gets no number. The
    // request then waits until the queue is empty.
    if (!overtake && queue.confirmed() < slot.request.behind && queue.hasPending()) {
      continue;
    }
    const BusMessage message = write(connection, owner.constData(), slot.request);
    const auto call = m_calls.insert(m_calls.end(), Call{&slot, nullptr});
    slot.request.sent = true;
    call->call = connection.call(message, [this, call](sd_bus_message* reply) { onReply(call, reply); });
    any = true;
  }
  return any;
}

void Requests::onReply(std::list<Call>::iterator call, sd_bus_message* reply) {
  if (call->slot != nullptr) {
    try {
      settle(*call->slot, reply);
    } catch (const std::bad_alloc&) {
      call->slot->fail("not enough memory for the list service's answer");
    }
  }
  m_calls.erase(call);
}

void Requests::expire(Clock::time_point now) {
  for (RequestSlot& slot : m_slots) {
    if (!slot.isOpen() || (slot.request.deadline > now && !slot.isReleased())) {
      continue;
    }
    for (Call& call : m_calls) {
      call.slot = call.slot == &slot ? nullptr : call.slot;
    }
    slot.fail("the list service did not answer in time");
  }
}

void Requests::failSent(const char* cause) {
  for (const Call& call : m_calls) {
    if (call.slot != nullptr) {
      call.slot->fail(cause);
    }
  }
  m_calls.clear();
}

void Requests::failUnsent(const char* cause) {
  for (RequestSlot& slot : m_slots) {
    if (slot.isOpen() && !slot.request.sent) {
      slot.fail(cause);
    }
  }
}

}  // namespace Tavroline
