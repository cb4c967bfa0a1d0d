#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>

#include <optional>
#include <stdexcept>
#include <string>

#include "BusPointer.h"
#include "ListServiceNames.h"
#include "MessageWriter.h"

/** A command failed: the bus or the service cannot be reached, the service refused a call, or the user named
 * an alarm that the list does not have. what() is shown to the user. */
struct ClientError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/** There is no connection to the bus, or it has ended. */
struct NoBus : ClientError {
  using ClientError::ClientError;
};

/** The bus's policy forbids the call to this user. */
struct Forbidden : ClientError {
  using ClientError::ClientError;
};

/** No connection owns the service's name, or the owner ended before it replied. */
struct NoService : ClientError {
  using ClientError::ClientError;
};

/** The service has no such object, interface or method: it is of another version. */
struct NotOffered : ClientError {
  using ClientError::ClientError;
};

/** One interface of an object on the bus. */
struct BusInterface {
  const char* path;
  const char* name;
  const char* service = Tavroline::ListServiceNames::kService;
};

constexpr BusInterface kEventInterface{Tavroline::ListServiceNames::kEventListPath,
                                       Tavroline::ListServiceNames::kEventListInterface};
constexpr BusInterface kAlarmInterface{Tavroline::ListServiceNames::kAlarmListPath,
                                       Tavroline::ListServiceNames::kAlarmListInterface};
constexpr BusInterface kMessageInterface{Tavroline::ListServiceNames::kMessagesPath,
                                         Tavroline::ListServiceNames::kMessagesInterface};

/**
 * Calls the list services and waits for each reply. Every operation throws ClientError.
 *
 * Entries of the lists are JSON objects as users see them: time (ISO 8601, with its offset from UTC), type,
 * icon, module, user, description, keywords; an event's id is its number; an alarm has an id, active and
 * acknowledged. Texts of callers are UTF-8.
 */
class ListClient {
 public:
  enum class List { Events, Alarms };

  /** Connect to the system bus; throws NoBus. */
  ListClient();

  /** The address of the bus to which the constructor connects. */
  static QString address();
  /** Whether the service runs. The call does not start it. */
  bool isRunning() { return isListed("ListNames"); }
  /** Whether the bus starts the service with a call if it does not run. */
  bool isActivatable() { return isListed("ListActivatableNames"); }
  /** Whether the bus permits this user to call the method. Sends a malformed call, which changes nothing. */
  bool mayCall(const BusInterface& interface, const char* method);
  /** Seconds by which the service's clock is ahead of this program's, because of their time zones. */
  int ahead();

  /** The event types' names, in the order of their numbers. */
  static const QStringList& typeNames();

  /** The newest entries, `count` 0 for all. Reports on stderr if the service had to leave out older ones. */
  QJsonArray events(const std::string& language, quint32 count);
  /** As events(), the alarm list. */
  QJsonArray alarms(const std::string& language);
  /** A page of the event list, the oldest entry first, as GetEntries of ListService1 describes it. */
  struct Page {
    quint64 epoch = 0;  ///< identifies the list
    qint64 oldest = 0;
    qint64 last = 0;  ///< the next page begins after it
    QJsonArray entries;
  };
  Page eventsAfter(quint64 epoch, qint64 number, const std::string& language);

  /** Counters and flags by name. */
  QJsonObject statistics();
  /** The last report of each client's message counters, the newest report first: program, user (-1 if
   * unknown), time (ISO 8601, with its offset from UTC), and figures by name. */
  QJsonArray clientCounters();

  /** Send a message and wait until the service has stored it. */
  void send(const Tavroline::MessageWriter& message);

  /** From now on waitForChange() reports changes of `list`, and every start and end of the service. */
  void subscribe(List list);
  /** Wait, without a limit, for the next change. Returns at once if there was one since subscribe() or since
   * the last return. Throws ReaderGone when nobody reads the output any more. */
  void waitForChange();

 private:
  bool isListed(const char* names);

  Tavroline::BusPointer<sd_bus> m_bus;
  std::optional<int> m_ahead;
  bool m_changed = false;
};
