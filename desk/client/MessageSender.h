#pragma once

#include <QByteArray>
#include <list>
#include <memory>
#include <vector>

#include "BusConnection.h"
#include "MessageFormat.h"
#include "MessageQueue.h"
#include "RaisedAlarms.h"

namespace Tavroline {

/**
 * Sends the queue's messages to the owner and confirms them in the queue when the owner has stored them. The
 * owner is the bus connection that owns the service's name; ServiceWatch finds it.
 *
 * The session is a text that identifies this run of the library to the service. At a new owner the sender
 * calls Resume, which returns the number of the session's last stored message. ReportAlarms and RaiseAlarms
 * then bring the service's alarms to the state after the last confirmed message. Then Send calls transfer the
 * messages. The sender waits for the answer to each call. After an error it pauses for 0.1 to 2 s and begins
 * with Resume again; Send then repeats all messages that are not confirmed. The service skips a number that
 * it has stored. The sender drops a message if the service refuses it for good, or if the service ended three
 * times after this message was sent alone.
 *
 * Calls are addressed to the owner's unique bus name. [hub]
 */
class MessageSender {
 public:
  MessageSender(BusConnection& connection, MessageQueue& queue) : m_connection(connection), m_queue(queue) {}

  /** Unique bus name of the attached owner; empty before attach() and after detach(). */
  const QByteArray& owner() const { return m_owner; }

  /** Send to this owner from now on; the previous owner must be detached. @throws std::bad_alloc */
  void attach(const QByteArray& owner);

  /** The owner or the connection is lost: discard the unanswered calls. Their messages are sent again after
   * attach().
   * @param ended whether the owner has ended; false if only the connection has */
  void detach(bool ended) noexcept;

  /** Make the next call if it is due; after flush(), make several. Needs an owner. @throws as
   * BusConnection::call() */
  void send(Clock::time_point now);

  /** The library is being unloaded: from now on, send() leaves up to 64 calls unanswered at a time.
   * @param last whether this is the last part of the unload: the limit is then 80 calls, and the queue drops
   * messages, see MessageQueue::keepOffEdges() */
  void flush(bool last);

  /** Whether the service has said that it cannot store now. */
  bool storageFails() const { return m_storageFails; }

  /** @return false if a call is unanswered after 30 s: the connection must then be renewed. */
  bool isAnswered(Clock::time_point now) const;

  /** Send the counters to the owner in a call that expects no reply. Needs an owner. @throws as
   * BusConnection::call() */
  void sendCounters(const MessageCounters& counters);

 private:
  enum class Step { Resume, Report, Raise, Send };
  struct Call {
    Step step;
    MessageQueue::Batch batch;  ///< if `step` is Send
    Clock::time_point deadline;
    std::unique_ptr<BusSlot> slot;
  };
  using CallRef = std::list<Call>::iterator;

  BusMessage begin(const char* method) const;
  bool call(Step step);
  void writeAll();

  void onReply(CallRef call, sd_bus_message* reply);
  bool readAnswer(const Call& call, sd_bus_message* reply);
  bool confirm(sd_bus_message* reply);
  void onBatchStored(const MessageQueue::Batch& batch);
  void onError(sd_bus_message* reply);
  void pause(Clock::duration least);
  void logOnce(const char* text, sd_bus_message* reply);
  void dropIfItEndsTheService();
  bool isGone(sd_bus_message* reply) const;

  BusConnection& m_connection;
  MessageQueue& m_queue;
  RaisedAlarms m_alarms;
  QByteArray m_session;
  QByteArray m_owner;
  QByteArray m_toldOwner;  ///< the owner whose refusal was logged last
  std::list<Call> m_calls;
  std::vector<char> m_bytes;  ///< of the batch being written
  Step m_step = Step::Resume;

  Clock::time_point m_notBefore;
  Clock::duration m_pause{};
  bool m_goBack = false;
  bool m_storageFails = false;
  std::size_t m_window = 0;  ///< after flush(): maximum number of unanswered calls; else 0

  std::size_t m_batchLimit = MessageFormat::kMaxBatchMessages;
  quint64 m_suspect = 0;  ///< number of the message after which the service ended
  int m_ends = 0;         ///< how often the service ended after m_suspect was sent alone
};

}  // namespace Tavroline
