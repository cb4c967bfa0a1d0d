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
 * Sends the messages of MessageQueue to the list service, and confirms them in the queue when the service has
 * stored them.
 *
 * The owner is the bus connection that owns the service's name; ServiceWatch finds it. The sender makes four
 * kinds of calls to the owner. It makes each call after the answer to the call before:
 *
 * - Resume names the session, a text that identifies this run of the library. The service answers with the
 *   number of the last message of the session that it has stored.
 * - ReportAlarms and RaiseAlarms (RaisedAlarms) turn alarms at the service on and off until they have the
 *   states that they had after the last confirmed message.
 * - Send transfers a batch of messages. The sender repeats Send while the queue has messages.
 *
 * After an error the sender pauses for 0.1 to 2 s and begins with Resume again. Send then repeats all
 * messages that are not confirmed; the service skips the messages that it has stored. The sender drops a
 * message if the service refuses the message for good, or if the service ended three times after the message
 * was sent alone.
 * [hub]
 */
class MessageSender {
 public:
  MessageSender(BusConnection& connection, MessageQueue& queue) : m_connection(connection), m_queue(queue) {}

  /** Unique bus name of the owner; empty before attach() and after detach(). */
  const QByteArray& owner() const { return m_owner; }

  /** Send messages to `owner` from now on. No other owner may be attached. @throws std::bad_alloc */
  void attach(const QByteArray& owner);

  /** Discard the unanswered calls, because the owner or the bus connection has ended. The sender repeats
   * their messages after attach().
   * @param ended true if the owner has ended; false if only the connection has ended */
  void detach(bool ended) noexcept;

  /** Make the next call if it is due. After flush(), make as many calls as the limit allows. An owner must be
   * attached. @throws as BusConnection::call() */
  void send(Clock::time_point now);

  /** Let send() make calls without waiting for answers, because the library is being unloaded. Up to 64 calls
   * may then be unanswered.
   * @param last whether the last part of the unload begins. The limit is then 80 unanswered calls, and the
   * queue drops messages, see MessageQueue::keepOffEdges() */
  void flush(bool last);

  /** Whether the service cannot store messages now: its last error reply said so, no later call other than
   * Resume was successful, and no call is under way whose reply may tell otherwise. */
  bool storageFails() const { return m_storageFails && m_calls.empty(); }

  /** Send the counters to the owner, in a call without a reply. An owner must be attached. @throws as
   * BusConnection::call() */
  void sendCounters(const MessageCounters& counters);

 private:
  enum class Step { Resume, Report, Raise, Send };
  struct Call {
    Step step;
    MessageQueue::Batch batch;  ///< the messages of a Send call; other calls have none
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
  QByteArray m_toldOwner;  ///< the owner about which logOnce() has written the last record
  std::list<Call> m_calls;
  std::vector<char> m_bytes;   ///< the messages of the call that is being written
  Step m_step = Step::Resume;  ///< step of the next call

  Clock::time_point m_notBefore;  ///< the next call waits until this time
  Clock::duration m_pause{};      ///< length of the last pause; 0 after attach() and after a stored batch
  /** An error has occurred. The next call waits until all earlier calls are answered. Then m_queue goes back
   * to the first message that is not confirmed. */
  bool m_goBack = false;
  bool m_storageFails = false;  ///< as the last replies told, see storageFails()
  /** Maximum number of unanswered calls after flush(). The value is 0 before flush(): send() then waits for
   * the answer to each call. */
  std::size_t m_window = 0;

  /** Maximum number of messages in the next Send call. */
  std::size_t m_batchLimit = MessageFormat::kMaxBatchMessages;
  quint64 m_suspect = 0;  ///< number of the message that was sent alone when the owner ended last
  /** How often the owner ended (the service's process ended or lost its name) after m_suspect was sent alone.
   */
  int m_ends = 0;
};

}  // namespace Tavroline
