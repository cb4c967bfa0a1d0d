#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QString>

#include <optional>
#include <stdexcept>

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
 * Calls the list services and waits for each reply. It formats nothing. Every operation throws ClientError.
 */
class ListClient {
 public:
  enum class List { Events, Alarms };

  /** Connect to the system bus; throws NoBus. */
  ListClient();

  /** The address of the bus to which the constructor connects. */
  static QString address();
  /** The unique name of the connection that owns the service's name; empty if no connection owns it. The call
   * does not start the service. */
  QString owner();
  /** Whether the bus starts the service with a call if it does not run. */
  bool isActivatable();
  /** The service's introspection of an object, XML; empty if it has no such object. */
  QString introspect(const char* path);
  /** Whether the bus permits this user to call the method. Sends a malformed call, which changes nothing. */
  bool mayCall(const BusInterface& interface, const char* method);
  /** Offset of the service's local time from UTC, in seconds. */
  int timeZone();
  /** Seconds by which the service's clock is ahead of this program's, because of their time zones. */
  int ahead();

  /** A list reply, a JSON object as ListService1 describes it, but times have their offset from UTC; `count`
   * 0 for all. */
  QJsonObject events(const QString& language, quint32 count);
  QJsonObject alarms(const QString& language);
  /** A page of the event list, the oldest entry first, as GetEntries of ListService1 describes it. */
  struct Page {
    quint64 epoch = 0;  ///< identifies the list
    qint64 oldest = 0;
    qint64 last = 0;  ///< the next page begins after it
    QJsonArray entries;
  };
  Page eventsAfter(quint64 epoch, qint64 number, const QString& language);

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
  Tavroline::BusPointer<sd_bus> m_bus;
  std::optional<int> m_ahead;
  bool m_changed = false;
};
