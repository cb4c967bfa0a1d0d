#include "Courier.h"

#include <QUuid>
#include <algorithm>
#include <array>
#include <iterator>

#include "MessageMarshalling.h"
#include "PendingReply.h"

namespace {

// With 32 requests and the watch's queries this stays below the 128 replies that a system bus lets one wait
// for.
constexpr std::size_t kWindow = 32;
constexpr std::chrono::seconds kWriteDeadline{30};
constexpr int kMaximumErrorText = 200;

const char kUnanswered[] = "the list service did not answer in time";

// Texts of an error come from others: shortened, on one line.
QString errorText(const sd_bus_error& error) {
  const QString text = QString::fromUtf8(error.name) + QLatin1String(": ") + QString::fromUtf8(error.message);
  return text.simplified().left(kMaximumErrorText);
}

}  // namespace

void Courier::begin(const QByteArray& owner) {
  if (m_session.isEmpty()) m_session = QUuid::createUuid().toByteArray(QUuid::WithoutBraces);
  const std::vector<Message> raised = m_outbox.raisedAlarms();
  m_raise.assign(raised.begin(), raised.end());
  m_owner = owner;
}

void Courier::interrupt(const QString& cause) {
  m_owner.clear();
  m_raise.clear();
  m_writes.clear();
  m_outbox.takeBack();
  for (auto sent = m_requests.begin(); sent != m_requests.end();) {
    sent->asked->reply->fail(cause);
    sent = finish(sent);
  }
}

void Courier::send(Clock::time_point now) {
  while (!m_raise.empty() && m_writes.size() < kWindow) {
    sendWrite(m_raise.front(), std::nullopt, now);
    m_raise.pop_front();
  }
  bool bMore = m_raise.empty();
  while (bMore) {
    bMore = false;
    if (const auto asked = m_outbox.takeRequest()) {
      sendRequest(*asked);
      bMore = true;
    } else if (m_writes.size() < kWindow) {
      if (const auto write = m_outbox.takeWrite()) {
        sendWrite(**write, write, now);
        bMore = true;
      }
    }
  }
}

void Courier::sendWrite(const Message& message, std::optional<Outbox::Write> write, Clock::time_point now) {
  const auto sent = m_writes.insert(m_writes.end(), SentWrite{write, nullptr, now + kWriteDeadline});
  const auto call = marshal({m_connection.get(), m_owner.constData()}, m_session, message);
  if (call->error() == 0) {
    sent->call =
        m_connection.call(call->message(), [this, sent](sd_bus_message* r) { onWriteReply(sent, r); });
  }
  // A connection that takes nothing more is about to be found broken, and the message is sent again.
  if (call->error() != 0) finish(sent, Loss::Unsendable);
}

void Courier::sendRequest(Outbox::Asked asked) {
  const auto sent = m_requests.insert(m_requests.end(), SentRequest{asked, nullptr});
  const auto call = marshal({m_connection.get(), m_owner.constData()}, *asked);
  if (call->error() == 0) {
    sent->call =
        m_connection.call(call->message(), [this, sent](sd_bus_message* r) { onRequestReply(sent, r); });
  }
  if (sent->call == nullptr) {
    asked->reply->fail(QStringLiteral("the request could not be sent"));
    finish(sent);
  }
}

void Courier::onWriteReply(std::list<SentWrite>::iterator sent, sd_bus_message* reply) {
  if (isGone(reply)) return;  // stays unsettled; the change of the owner that follows sends it again
  const bool bRejected = sd_bus_message_is_method_error(reply, nullptr) > 0;
  finish(sent, bRejected ? std::optional<Loss>(Loss::Rejected) : std::nullopt);
}

void Courier::onRequestReply(std::list<SentRequest>::iterator sent, sd_bus_message* reply) {
  const char* text = nullptr;
  DBusPendingReply::Private& state = *sent->asked->reply;
  if (sd_bus_message_is_method_error(reply, nullptr) > 0) {
    state.fail(errorText(*sd_bus_message_get_error(reply)));
  } else if (sd_bus_message_read(reply, "s", &text) > 0) {
    state.arrive(QByteArray(text));
  } else {
    state.fail(QStringLiteral("the list service answered in an unknown form"));
  }
  finish(sent);
}

bool Courier::isGone(sd_bus_message* reply) const {
  static constexpr std::array<const char*, 4> kNames = {SD_BUS_ERROR_SERVICE_UNKNOWN,
                                                        SD_BUS_ERROR_NAME_HAS_NO_OWNER, SD_BUS_ERROR_NO_REPLY,
                                                        SD_BUS_ERROR_DISCONNECTED};
  const char* sender = sd_bus_message_get_sender(reply);
  const bool bFromService = sender != nullptr && m_owner == sender;  // who answers is not gone
  return !bFromService && std::any_of(kNames.begin(), kNames.end(), [reply](const char* name) {
    return sd_bus_message_is_method_error(reply, name) > 0;
  });
}

std::list<Courier::SentWrite>::iterator Courier::finish(std::list<SentWrite>::iterator sent,
                                                        std::optional<Loss> loss) {
  if (sent->write.has_value()) m_outbox.settle(*sent->write, loss);
  return m_writes.erase(sent);
}

std::list<Courier::SentRequest>::iterator Courier::finish(std::list<SentRequest>::iterator sent) {
  m_outbox.finish(sent->asked);
  return m_requests.erase(sent);
}

void Courier::expire(Clock::time_point now) {
  for (auto sent = m_writes.begin(); sent != m_writes.end();) {
    sent = sent->deadline <= now ? finish(sent, Loss::Unanswered) : std::next(sent);
  }
  for (auto sent = m_requests.begin(); sent != m_requests.end();) {
    const bool bOverdue = sent->asked->deadline <= now;
    if (bOverdue) sent->asked->reply->fail(QLatin1String(kUnanswered));
    sent = bOverdue || sent->asked->reply->isReleased() ? finish(sent) : std::next(sent);
  }
  for (const Request& request : m_outbox.takeEndedRequests(now)) {
    request.reply->fail(QLatin1String(kUnanswered));
  }
}

void Courier::refuse(const QString& cause) {
  for (const Request& request : m_outbox.takeUnsentRequests())
    request.reply->fail(cause);
}
