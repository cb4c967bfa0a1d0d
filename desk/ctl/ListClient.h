#pragma once

#include <systemd/sd-bus.h>

#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>

#include <memory>
#include <stdexcept>

/** The bus or the service cannot be reached, or the service refused a call; what() is for the user. */
class ClientError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/** There is no connection to the bus. */
class NoBus : public ClientError {
 public:
  using ClientError::ClientError;
};

/** The bus's policy forbids the call to this user. */
class Forbidden : public ClientError {
 public:
  using ClientError::ClientError;
};

/** No connection owns the service's name, or the owner ended before it replied. */
class NoService : public ClientError {
 public:
  using ClientError::ClientError;
};

/**
 * Calls the list services and waits for each reply. An object's changes form one session of the service. It
 * formats nothing. Every operation throws ClientError.
 */
class ListClient {
 public:
  enum class List { Events, Alarms };

  /** Connect to the system bus; throws NoBus. */
  ListClient();

  /** The address of the bus to which the constructor connects. */
  static QString address();
  /** The connection that owns the service's name, empty if there is none; starts no service. */
  QString owner();
  /** The service's introspection of a list's object, XML. */
  QString introspect(List list);
  /** Whether the bus permits this user to call the method. Sends a malformed call, which changes nothing. */
  bool mayCall(List list, const char* method);

  /** A list reply, a JSON object as ListService1 describes it; `count` 0 for all. */
  QJsonObject events(const QString& language, quint32 count);
  QJsonObject alarms(const QString& language);

  /** Counters and flags by name. */
  QJsonObject statistics();
  /** The last report of each client's message counters, the newest report first: session, time (milliseconds
   * since 1970-01-01 00:00:00 UTC), and figures by name. */
  QJsonArray clientCounters();

  void deleteEvents();
  void acknowledgeAlarms(const QStringList& alarmIds, const QString& user);
  void acknowledgeDetector(const QString& user);

  /** From now on waitForChange() reports changes of `list`, and every start and end of the service. */
  void subscribe(List list);
  /** Wait, without a limit, for the next change. Returns at once if there was one since subscribe() or since
   * the last return. */
  void waitForChange();

 private:
  struct Unref {
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
  };
  using BusMessage = std::unique_ptr<sd_bus_message, Unref>;

  BusMessage newMessage(const char* destination, const char* path, const char* interface, const char* method);
  BusMessage newCall(List list, const char* method);
  BusMessage newChange(List list, const char* method);
  BusMessage call(const BusMessage& request);
  QJsonObject readList(const BusMessage& request);
  static QByteArray readText(const BusMessage& reply);
  static QJsonObject readFigures(const BusMessage& reply);

  std::unique_ptr<sd_bus, Unref> m_bus;
  QByteArray m_session;
  quint64 m_sequence = 0;
  bool m_changed = false;
};
