#include "MessageSender.h"

#include <QUuid>
#include <algorithm>
#include <array>
#include <cerrno>

#include "BusText.h"
#include "ClientLog.h"
#include "ListServiceNames.h"
#include "MessageFormat.h"

namespace Tavroline {

using namespace ListServiceNames;

namespace {

constexpr std::chrono::milliseconds kFirstPause{100};
constexpr std::chrono::milliseconds kLongestPause{2000};
// The sender drops a message if the service ended this number of times after the message was sent alone.
constexpr int kEndsToBlame = 3;
// Maximum number of unanswered calls after flush(false) and flush(true). A system bus with default limits
// allows a connection 128 such calls, of which Requests may use 32.
constexpr std::size_t kWindow = 64;
constexpr std::size_t kLastWindow = 80;

constexpr char kOtherVersion[] = "the list service is of another version than this library";

/** Describes an error that occurs again until somebody changes the bus configuration, the service or this
 * library. */
struct Refusal {
  const char* error;  ///< name of the error reply
  const char* text;   ///< text for the log
};
constexpr std::array<Refusal, 7> kRefusals = {
    {{SD_BUS_ERROR_ACCESS_DENIED, "the bus does not let this program write to the list service"},
     {SD_BUS_ERROR_UNKNOWN_METHOD, kOtherVersion},
     {SD_BUS_ERROR_UNKNOWN_INTERFACE, kOtherVersion},
     {SD_BUS_ERROR_UNKNOWN_OBJECT, kOtherVersion},
     {SD_BUS_ERROR_INVALID_ARGS, kOtherVersion},
     {kErrorVersion, kOtherVersion},
     {kErrorInvalid, "the list service takes a call for malformed"}}};

/** Not read in the locale's encoding: that would read the environment, which another thread may change. */
QByteArray programName() {
  return busText(QString::fromUtf8(program_invocation_short_name)).toUtf8();
}

}  // namespace

void MessageSender::attach(const QByteArray& owner) {
  if (m_session.isEmpty()) {
    m_session = QUuid::createUuid().toByteArray(QUuid::WithoutBraces);
  }
  m_step = Step::Resume;
  m_notBefore = {};
  m_pause = {};
  m_owner = owner;
}

void MessageSender::detach(bool ended) noexcept {
  const Step step = m_calls.empty() ? Step::Resume : m_calls.front().step;
  if (step == Step::Send) {
    const MessageQueue::Batch& batch = m_calls.front().batch;
    m_batchLimit = 1;
    if (ended && batch.count == 1 && batch.first == m_queue.confirmed() + 1) {
      m_ends = batch.first == m_suspect ? m_ends + 1 : 1;
      m_suspect = batch.first;
    }
  } else if (ended && step != Step::Resume) {
    m_alarms.noteEnd(Clock::now());
  }
  m_owner.clear();
  m_calls.clear();
  m_queue.goBack();
  m_goBack = false;
  m_storageFails = false;
}

void MessageSender::send(Clock::time_point now) {
  const bool waits = !m_calls.empty() && (m_window == 0 || m_goBack);
  if (now < m_notBefore || waits) {
    return;
  }
  if (m_goBack) {
    m_queue.goBack();
    m_goBack = false;
  }
  if (m_window > 0) {
    return writeAll();
  }
  if (m_step == Step::Send && m_alarms.isDue(now)) {
    m_step = Step::Report;
  }
  if (m_step == Step::Report && !m_alarms.mayReport(now)) {
    m_step = Step::Send;
  }
  call(m_step);
}

void MessageSender::flush(bool last) {
  if (m_window == 0) {
    m_notBefore = {};
    m_pause = {};
  }
  m_window = last ? kLastWindow : kWindow;
  if (last) {
    m_queue.keepOffEdges();
  }
}

// Sends the remaining messages without waiting for answers, because the library is being unloaded. Does not
// report alarms: the service turns off the alarms of a session that no client resumes.
void MessageSender::writeAll() {
  if (m_step == Step::Resume) {
    call(m_step);
  }
  m_step = Step::Send;
  while (m_calls.size() < m_window && call(m_step)) {
  }
}

void MessageSender::sendCounters(const MessageCounters& counters) {
  const BusMessage call = begin("ReportCounters");
  checkBus(sd_bus_message_open_container(call.get(), 'a', "{st}"));
  const MessageCounters::Values values = counters.values();
  for (std::size_t i = 0; i < values.size(); ++i) {
    checkBus(sd_bus_message_append(call.get(), "{st}", kCounterNames[i], values[i]));
  }
  checkBus(sd_bus_message_close_container(call.get()));
  m_connection.send(call);
}

BusMessage MessageSender::begin(const char* method) const {
  return m_connection.write(m_owner.constData(), {kMessagesPath, kMessagesInterface, method}, "s",
                            m_session.constData());
}

// Makes the call of a step. Returns false if the step is Send and the queue has no unsent message.
bool MessageSender::call(Step step) {
  static constexpr std::array kMethods = {"Resume", "ReportAlarms", "RaiseAlarms", "Send"};
  m_bytes.clear();
  MessageQueue::Batch batch;
  if (step == Step::Send) {
    batch = m_queue.read(m_bytes, m_batchLimit);
    if (batch.count == 0) {
      return false;
    }
  }
  const BusMessage message = begin(kMethods[static_cast<std::size_t>(step)]);
  switch (step) {
    case Step::Resume:
      checkBus(sd_bus_message_append(message.get(), "s", programName().constData()));
      break;
    case Step::Report:
      m_alarms.writeIdentifiers(message.get());
      break;
    case Step::Raise:
      m_alarms.takeMissing(m_bytes);
      break;
    case Step::Send:
      checkBus(sd_bus_message_append(message.get(), "tt", batch.first, m_queue.confirmed()));
  }
  if (step == Step::Raise || step == Step::Send) {
    checkBus(sd_bus_message_append_array(message.get(), 'y', m_bytes.data(), m_bytes.size()));
  }
  const auto made = m_calls.insert(m_calls.end(), Call{step, batch, nullptr});
  made->slot = m_connection.call(message, [this, made](sd_bus_message* reply) { onReply(made, reply); });
  return true;
}

// The following functions handle the replies to the calls.

void MessageSender::onReply(CallRef call, sd_bus_message* reply) {
  if (isGone(reply)) {
    return;  // the call stays in m_calls until the owner changes and detach() evaluates it
  }
  const Call ended = std::move(*call);
  m_calls.erase(call);
  if (isError(reply)) {
    return onError(reply);
  }
  m_storageFails = m_storageFails && ended.step == Step::Resume;  // a successful Resume stores nothing
  if (!readAnswer(ended, reply)) {
    logOnce(kOtherVersion, reply);
    pause(kLongestPause);
  }
}

// Returns false if the answer has an unknown form.
bool MessageSender::readAnswer(const Call& call, sd_bus_message* reply) {
  if (call.step == Step::Report || call.step == Step::Raise) {
    if (!(call.step == Step::Report ? m_alarms.readMissing(reply) : m_alarms.readFull(reply))) {
      return false;
    }
    m_step = m_alarms.areMissing() ? Step::Raise : Step::Send;
    return true;
  }
  if (!confirm(reply)) {
    return false;
  }
  if (call.step == Step::Send) {
    onBatchStored(call.batch);
  } else {
    dropIfItEndsTheService();
    m_step = m_window > 0 ? Step::Send : Step::Report;
  }
  return true;
}

// Reads the number of the last message that the service has stored, and the messages that the service has
// refused for good. Returns false if the answer has an unknown form.
bool MessageSender::confirm(sd_bus_message* reply) {
  quint64 stored = 0;
  if (sd_bus_message_read(reply, "t", &stored) <= 0 ||
      sd_bus_message_enter_container(reply, 'a', "(tu)") <= 0) {
    return false;
  }
  MessageQueue::Refused refused;
  quint64 last = m_queue.confirmed();
  quint64 number = 0;
  quint32 reason = 0;
  while (sd_bus_message_read(reply, "(tu)", &number, &reason) > 0) {
    // other messages are already confirmed, or their numbers are invalid
    if (number > last && number <= stored) {
      refused.emplace_back(number, reason);
      last = number;
    }
  }
  m_queue.confirm(stored, refused,
                  [this](const AlarmEdge& edge, bool isStored) { m_alarms.record(edge, isStored); });
  return true;
}

void MessageSender::onBatchStored(const MessageQueue::Batch& batch) {
  const quint64 last = batch.first + static_cast<quint64>(batch.count) - 1;
  if (m_queue.confirmed() >= last) {
    m_pause = {};
    m_batchLimit = std::min(m_batchLimit * 2, MessageFormat::kMaxBatchMessages);
  } else {
    pause(kFirstPause);
  }
}

// The following functions handle errors and start the pauses after errors.

void MessageSender::onError(sd_bus_message* reply) {
  m_storageFails = isError(reply, kErrorStorage);
  const auto refusal = std::find_if(kRefusals.begin(), kRefusals.end(),
                                    [reply](const Refusal& r) { return isError(reply, r.error); });
  if (refusal != kRefusals.end()) {
    logOnce(refusal->text, reply);
  }
  pause(refusal != kRefusals.end() ? kLongestPause : kFirstPause);
}

// Starts a pause, unless an earlier error has started a pause that has not ended. After the pause the sender
// calls Resume, and then sends all messages that are not confirmed.
void MessageSender::pause(Clock::duration least) {
  if (m_goBack) {
    return;
  }
  m_pause = std::clamp<Clock::duration>(m_pause * 2, least, kLongestPause);
  m_notBefore = Clock::now() + m_pause;
  m_goBack = true;
  m_step = Step::Resume;
}

void MessageSender::logOnce(const char* text, sd_bus_message* reply) {
  if (m_toldOwner == m_owner) {
    return;
  }
  m_toldOwner = m_owner;
  const QByteArray detail = isError(reply) ? ": " + errorText(reply) : QByteArray();
  clientLog(CLIENT_LOG_ORIGIN("MessageSender"), QByteArray(text + detail));
}

void MessageSender::dropIfItEndsTheService() {
  if (m_ends < kEndsToBlame || m_suspect != m_queue.confirmed() + 1) {
    return;
  }
  m_ends = 0;
  m_queue.drop(Loss::EndsService,
               [this](const AlarmEdge& edge, bool isStored) { m_alarms.record(edge, isStored); });
}

bool MessageSender::isGone(sd_bus_message* reply) const {
  static constexpr std::array kNames = {SD_BUS_ERROR_SERVICE_UNKNOWN, SD_BUS_ERROR_NAME_HAS_NO_OWNER,
                                        SD_BUS_ERROR_NO_REPLY, SD_BUS_ERROR_DISCONNECTED};
  const char* sender = sd_bus_message_get_sender(reply);
  const bool fromService = sender != nullptr && m_owner == sender;  // an owner that replies has not ended
  return !fromService && std::any_of(kNames.begin(), kNames.end(),
                                     [reply](const char* name) { return isError(reply, name); });
}

}  // namespace Tavroline
