#include "Courier.h"

#include <QUuid>
#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <limits>

#include "ListServiceNames.h"
#include "MessageMarshalling.h"
#include "PendingReply.h"
#include "ReplyCheck.h"

namespace Tavroline {

namespace {

// Maximum numbers of messages and of requests (released ones included) that wait for a reply. A stock system
// bus allows 128 such calls on a connection; the state queries of ServiceWatch are up to 22 of them.
constexpr std::size_t kWindow = 32;
constexpr std::size_t kRequestWindow = 48;
constexpr std::chrono::seconds kAnswerDeadline{30};
constexpr std::chrono::seconds kStoragePause{1};
constexpr int kMaximumErrorText = 200;
// Maximum lengths of the replies with an alarm's state and with a list: the component parses them on a PLC
// task. The service keeps its lists below 16 MiB.
constexpr std::size_t kMaximumStateBytes = 65536;
constexpr std::size_t kMaximumListBytes = 16U << 20U;

const char kUnanswered[] = "the list service did not answer in time";

// The service or the bus chose the text of the error; it is reduced to one line of kMaximumErrorText
// characters.
QString errorText(const sd_bus_error& error) {
  const QString text = QString::fromUtf8(error.name) + QLatin1String(": ") + QString::fromUtf8(error.message);
  return text.simplified().left(kMaximumErrorText);
}

}  // namespace

void Courier::begin(const QByteArray& owner) {
  if (m_session.isEmpty()) {
    m_session = QUuid::createUuid().toByteArray(QUuid::WithoutBraces);
  }
  raiseAgain();
  m_resume = {};
  m_owner = owner;
}

void Courier::raiseAgain() {
  const std::vector<Message> raised = m_outbox.raisedAlarms();
  m_raise.assign(raised.begin(), raised.end());
}

// Marks all unsettled messages as unsent, to be sent again after kStoragePause. This includes those whose
// reply is outstanding: the service refuses them as well, because they follow one that it could not store. If
// a replay of alarms is under way, it starts again with its first alarm.
void Courier::postpone() {
  m_resume = Clock::now() + kStoragePause;
  const bool raising =
      !m_raise.empty() ||
      std::any_of(m_writes.begin(), m_writes.end(), [](const SentWrite& s) { return !s.write.has_value(); });
  m_writes.clear();
  m_outbox.takeBack();
  if (raising) {
    raiseAgain();
  }
}

void Courier::interrupt(const QString& cause) {
  m_owner.clear();
  m_raise.clear();
  m_writes.clear();
  m_outbox.takeBack();
  for (SentRequest& sent : m_requests) {
    if (!sent.asked.has_value()) {
      continue;
    }
    (*sent.asked)->reply->fail(cause);
    release(sent);
  }
  m_requests.clear();
}

void Courier::send(Clock::time_point now) {
  while (sendNext(now)) {
  }
}

bool Courier::sendNext(Clock::time_point now) {
  // In the pause after a storage error, requests overtake messages.
  const bool postponed = now < m_resume;
  // While as many requests as allowed wait for a reply, messages overtake unsent requests.
  const bool mayAsk = m_requests.size() < kRequestWindow;
  if ((m_raise.empty() || postponed) && mayAsk) {
    if (const auto asked = m_outbox.takeRequest(postponed)) {
      sendRequest(*asked, now);
      return true;
    }
  }
  if (postponed || m_writes.size() >= kWindow) {
    return false;
  }
  // Messages and replayed alarms are merged by sequence number, because the service treats a lower number
  // after a higher one as a repetition.
  const quint64 before = m_raise.empty() ? std::numeric_limits<quint64>::max() : m_raise.front().sequence;
  const auto write = m_outbox.takeWrite(before, !mayAsk);
  if (write.has_value()) {
    sendWrite(**write, write, now);
    return true;
  }
  if (m_raise.empty()) {
    return false;
  }
  sendWrite(m_raise.front(), std::nullopt, now);
  m_raise.pop_front();
  return true;
}

void Courier::sendWrite(const Message& message, std::optional<Outbox::Write> write, Clock::time_point now) {
  const auto sent = m_writes.insert(m_writes.end(), SentWrite{write, nullptr, now + kAnswerDeadline});
  const auto call = marshal({m_connection.get(), m_owner.constData()}, m_session, message);
  if (call->error() == 0) {
    sent->call =
        m_connection.call(call->message(), [this, sent](sd_bus_message* r) { onWriteReply(sent, r); });
  } else {
    finish(sent, Loss::Unsendable);
  }
}

void Courier::sendRequest(Outbox::Asked asked, Clock::time_point now) {
  const auto sent = m_requests.insert(m_requests.end(), SentRequest{asked, nullptr, now + kAnswerDeadline});
  const auto call = marshal({m_connection.get(), m_owner.constData()}, *asked);
  if (call->error() == 0) {
    sent->call =
        m_connection.call(call->message(), [this, sent](sd_bus_message* r) { onRequestReply(sent, r); });
  } else {
    asked->reply->fail(QStringLiteral("the request could not be sent"));
    m_outbox.finish(asked);
    m_requests.erase(sent);
  }
}

void Courier::onWriteReply(std::list<SentWrite>::iterator sent, sd_bus_message* reply) {
  if (isGone(reply)) {
    return;  // stays unsettled: interrupt() follows with the change of the owner, and the next owner gets it
  }
  if (sd_bus_message_is_method_error(reply, ListServiceNames::kErrorStorage) > 0) {
    return postpone();
  }
  const bool rejected = sd_bus_message_is_method_error(reply, nullptr) > 0;
  finish(sent, rejected ? std::optional<Loss>(Loss::Rejected) : std::nullopt);
}

void Courier::onRequestReply(std::list<SentRequest>::iterator sent, sd_bus_message* reply) {
  if (sent->asked.has_value()) {
    const char* text = nullptr;
    DBusPendingReply::Private& state = *(*sent->asked)->reply;
    const bool isList = (*sent->asked)->kind != Request::Kind::AlarmState;
    if (sd_bus_message_is_method_error(reply, nullptr) > 0) {
      state.fail(errorText(*sd_bus_message_get_error(reply)));
    } else if (sd_bus_message_read(reply, "s", &text) <= 0 ||
               std::strlen(text) > (isList ? kMaximumListBytes : kMaximumStateBytes)) {
      state.fail(QStringLiteral("the list service answered in an unknown form"));
    } else if (const char* fault = ReplyCheck::fault(text); fault != nullptr) {
      state.fail(QStringLiteral("the list service's answer %1").arg(QLatin1String(fault)));
    } else {
      state.arrive(QByteArray(text));
    }
    release(*sent);
  }
  m_requests.erase(sent);
}

bool Courier::isGone(sd_bus_message* reply) const {
  static constexpr std::array<const char*, 4> kNames = {SD_BUS_ERROR_SERVICE_UNKNOWN,
                                                        SD_BUS_ERROR_NAME_HAS_NO_OWNER, SD_BUS_ERROR_NO_REPLY,
                                                        SD_BUS_ERROR_DISCONNECTED};
  const char* sender = sd_bus_message_get_sender(reply);
  const bool fromService = sender != nullptr && m_owner == sender;  // an owner that replies is still there
  return !fromService && std::any_of(kNames.begin(), kNames.end(), [reply](const char* name) {
    return sd_bus_message_is_method_error(reply, name) > 0;
  });
}

std::list<Courier::SentWrite>::iterator Courier::finish(std::list<SentWrite>::iterator sent,
                                                        std::optional<Loss> loss) {
  if (sent->write.has_value()) {
    m_outbox.settle(*sent->write, loss);
  }
  return m_writes.erase(sent);
}

void Courier::release(SentRequest& sent) {
  m_outbox.finish(*sent.asked);
  sent.asked.reset();
}

bool Courier::expire(Clock::time_point now) {
  bool answering = true;
  for (auto sent = m_writes.begin(); sent != m_writes.end();) {
    const bool overdue = sent->deadline <= now;
    answering = answering && !overdue;
    sent = overdue ? finish(sent, Loss::Unanswered) : std::next(sent);
  }
  for (SentRequest& sent : m_requests) {
    answering = answering && now < sent.deadline;
    if (!sent.asked.has_value()) {
      continue;
    }
    const Request& request = **sent.asked;
    const bool overdue = request.deadline <= now;
    if (overdue) {
      request.reply->fail(QLatin1String(kUnanswered));
    }
    if (overdue || request.reply->isReleased()) {
      release(sent);
    }
  }
  for (const Request& request : m_outbox.takeEndedRequests(now)) {
    request.reply->fail(QLatin1String(kUnanswered));
  }
  return answering;
}

void Courier::tell(const QByteArray& owner, const Books& books) {
  const auto report = marshal({m_connection.get(), owner.constData()}, m_session, books);
  if (report->error() == 0) {
    m_connection.send(report->message());
  }
}

void Courier::refuse(const QString& cause) {
  for (const Request& request : m_outbox.takeUnsentRequests()) {
    request.reply->fail(cause);
  }
}

}  // namespace Tavroline
