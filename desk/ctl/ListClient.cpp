#include "ListClient.h"

#include <QJsonDocument>
#include <QUuid>

#include <cerrno>
#include <cstring>
#include <string>

#include "BusText.h"
#include "EntryFilter.h"
#include "EventlistHandlerDefinitions.h"
#include "Terminal.h"

using namespace Tavroline::ListServiceNames;
using Keys = EventlistHandlerDefinitions;

namespace {

/** Throws if `result` is the error of a connection that has ended. */
void checkConnection(int result) {
  if (result == -ECONNRESET || result == -ENOTCONN || result == -EPIPE) {
    throw NoBus("the connection to the bus is lost");
  }
}

void check(int result) {
  checkConnection(result);
  if (result < 0) {
    throw ClientError(std::string("the bus failed: ") + std::strerror(-result));
  }
}

QByteArray bytes(const QString& text) {
  return Tavroline::busText(text).toUtf8();
}

QString busAddress() {
  return qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS",
                              QStringLiteral("unix:path=/run/dbus/system_bus_socket"));
}

class BusError {
 public:
  BusError() = default;
  ~BusError() { sd_bus_error_free(&m_error); }
  BusError(const BusError&) = delete;
  BusError& operator=(const BusError&) = delete;

  sd_bus_error* get() { return &m_error; }
  [[noreturn]] void raise(int result) const {
    checkConnection(result);
    if (sd_bus_error_has_name(&m_error, SD_BUS_ERROR_SERVICE_UNKNOWN) > 0 ||
        sd_bus_error_has_name(&m_error, SD_BUS_ERROR_NAME_HAS_NO_OWNER) > 0 ||
        sd_bus_error_has_name(&m_error, SD_BUS_ERROR_NO_REPLY) > 0) {
      throw NoService("no list service runs on this bus; start tavroline-listd");
    }
    if (sd_bus_error_has_name(&m_error, SD_BUS_ERROR_ACCESS_DENIED) > 0) {
      throw Forbidden("the bus forbids this call to this user; tavroline-ctl doctor says more");
    }
    if (result == -ETIMEDOUT) {
      throw ClientError("the service did not answer in time");
    }
    throw ClientError(std::string("the service refused: ") +
                      (m_error.message != nullptr ? m_error.message : std::strerror(-result)));
  }

 private:
  sd_bus_error m_error{};
};

int onChange(sd_bus_message*, void* changed, sd_bus_error*) {
  *static_cast<bool*>(changed) = true;
  return 0;
}

}  // namespace

ListClient::ListClient() {
  sd_bus* bus = nullptr;
  const int result = sd_bus_open_system(&bus);
  if (result < 0) {
    throw NoBus("no connection to the bus at " + busAddress().toStdString() + ": " + std::strerror(-result) +
                "; start it, or set DBUS_SYSTEM_BUS_ADDRESS");
  }
  m_bus.reset(bus);
}

QString ListClient::address() {
  return busAddress();
}

QString ListClient::owner() {
  const BusMessage request =
      newMessage("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetNameOwner");
  check(sd_bus_message_append(request.get(), "s", kService));
  try {
    return QString::fromUtf8(readText(call(request)));
  } catch (const NoService&) {
    return {};
  }
}

bool ListClient::isActivatable() {
  const BusMessage reply = call(newMessage("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                           "org.freedesktop.DBus", "ListActivatableNames"));
  const char* name = nullptr;
  check(sd_bus_message_enter_container(reply.get(), SD_BUS_TYPE_ARRAY, "s"));
  while (sd_bus_message_read(reply.get(), "s", &name) > 0) {
    if (std::strcmp(name, kService) == 0) {
      return true;
    }
  }
  return false;
}

QString ListClient::introspect(const char* path) {
  const BusMessage request = newMessage(kService, path, "org.freedesktop.DBus.Introspectable", "Introspect");
  BusError error;
  sd_bus_message* reply = nullptr;
  const int result = sd_bus_call(m_bus.get(), request.get(), 0, error.get(), &reply);
  const BusMessage received(reply);
  if (sd_bus_error_has_name(error.get(), SD_BUS_ERROR_UNKNOWN_OBJECT) > 0) {
    return {};
  }
  if (result < 0) {
    error.raise(result);
  }
  return QString::fromUtf8(readText(received));
}

bool ListClient::mayCall(const Interface& interface, const char* method) {
  const BusMessage request = newCall(interface, method);
  // No method has a single byte as its argument: the service refuses the call without carrying it out.
  check(sd_bus_message_append(request.get(), "y", 0));
  try {
    call(request);
  } catch (const Forbidden&) {
    return false;
  } catch (const ClientError&) {
  }
  return true;
}

ListClient::BusMessage ListClient::newMessage(const char* destination, const char* path,
                                              const char* interface, const char* method) {
  sd_bus_message* request = nullptr;
  check(sd_bus_message_new_method_call(m_bus.get(), &request, destination, path, interface, method));
  return BusMessage(request);
}

ListClient::BusMessage ListClient::newCall(const Interface& interface, const char* method) {
  return newMessage(kService, interface.path, interface.name, method);
}

void ListClient::send(const Tavroline::MessageWriter& message) {
  if (!message.isSendable()) {
    throw ClientError("the text is too long");
  }
  const QByteArray session = QUuid::createUuid().toByteArray();
  const BusMessage resume = newCall(kMessages, "Resume");
  check(sd_bus_message_append(resume.get(), "ss", session.constData(), "tavroline-ctl"));
  const BusMessage request = newCall(kMessages, "Send");
  const std::string_view bytes = message.bytes();
  check(sd_bus_message_append(request.get(), "stt", session.constData(), quint64{1}, quint64{0}));
  check(sd_bus_message_append_array(request.get(), SD_BUS_TYPE_BYTE, bytes.data(), bytes.size()));
  BusMessage reply;
  try {
    call(resume);
    reply = call(request);
  } catch (const Forbidden&) {
    throw Forbidden(
        "the bus does not let this user change the lists: join the group that its policy allows, with the"
        " packages tavroline");
  }
  quint64 number = 0;
  quint32 reason = 0;
  check(sd_bus_message_skip(reply.get(), "t"));
  check(sd_bus_message_enter_container(reply.get(), SD_BUS_TYPE_ARRAY, "(tu)"));
  if (sd_bus_message_read(reply.get(), "(tu)", &number, &reason) > 0) {
    throw ClientError(reason == kRefusedFull
                          ? "the alarm list is full"
                          : "the service refused the entry: an identifier has at most 255 characters");
  }
}

ListClient::BusMessage ListClient::call(const BusMessage& request) {
  BusError error;
  sd_bus_message* reply = nullptr;
  const int result = sd_bus_call(m_bus.get(), request.get(), 0, error.get(), &reply);
  if (result < 0) {
    error.raise(result);
  }
  return BusMessage(reply);
}

QByteArray ListClient::readText(const BusMessage& reply) {
  const char* text = nullptr;
  check(sd_bus_message_read_basic(reply.get(), SD_BUS_TYPE_STRING, &text));
  return text;
}

QJsonObject ListClient::readList(const BusMessage& reply) {
  const auto list = QJsonDocument::fromJson(readText(reply));
  if (!list.isObject()) {
    throw ClientError("the service's reply is not a list");
  }
  QJsonObject object = list.object();
  QJsonArray entries = object.value(Keys::getListDataName()).toArray();
  for (QJsonValueRef value : entries) {
    QJsonObject entry = value.toObject();
    const QString clock = entry.value(Keys::getListColumnNameLocalTime()).toString();
    const QDateTime shown = QDateTime::fromString(clock + QLatin1Char('Z'), Qt::ISODateWithMs);
    QDateTime time = EntryFilter::clockTime(shown.date(), shown.time(), ahead());
    const QJsonValue exact = entry.value(QStringLiteral("Time"));
    if (exact.isDouble()) {  // a page
      const auto instant = static_cast<qint64>(exact.toDouble());
      time = QDateTime::fromMSecsSinceEpoch(instant, Qt::OffsetFromUTC,
                                            static_cast<int>((shown.toMSecsSinceEpoch() - instant) / 1000));
    }
    entry.insert(Keys::getListColumnNameLocalTime(), time.toString(Qt::ISODateWithMs));
    value = entry;
  }
  object.insert(Keys::getListDataName(), entries);
  return object;
}

/** Reads a dictionary of counters (a{st}). */
QJsonObject ListClient::readFigures(const BusMessage& reply) {
  QJsonObject figures;
  const char* name = nullptr;
  quint64 value = 0;
  check(sd_bus_message_enter_container(reply.get(), SD_BUS_TYPE_ARRAY, "{st}"));
  while (sd_bus_message_read(reply.get(), "{st}", &name, &value) > 0) {
    figures.insert(QString::fromUtf8(name), static_cast<double>(value));
  }
  check(sd_bus_message_exit_container(reply.get()));
  return figures;
}

QJsonObject ListClient::events(const QString& language, quint32 count) {
  const BusMessage request = newCall(kEvents, "GetList");
  check(sd_bus_message_append(request.get(), "su", bytes(language).constData(), count));
  return readList(call(request));
}

ListClient::Page ListClient::eventsAfter(quint64 epoch, qint64 number, const QString& language) {
  constexpr quint32 kMost = 1000;
  const BusMessage request = newCall(kEvents, "GetEntries");
  check(sd_bus_message_append(request.get(), "txus", epoch, number, kMost, bytes(language).constData()));
  const BusMessage reply = call(request);
  int64_t oldest = 0;
  int64_t last = 0;
  check(sd_bus_message_read(reply.get(), "txx", &epoch, &oldest, &last));
  return {epoch, oldest, last, readList(reply).value(Keys::getListDataName()).toArray()};
}

QJsonObject ListClient::alarms(const QString& language) {
  const BusMessage request = newCall(kAlarms, "GetList");
  check(sd_bus_message_append(request.get(), "s", bytes(language).constData()));
  return readList(call(request));
}

QJsonObject ListClient::statistics() {
  QJsonObject statistics = readFigures(call(newCall(kEvents, "GetStatistics")));
  const BusMessage state = call(newCall(kAlarms, "GetState"));
  check(sd_bus_message_skip(state.get(), "t"));
  int flags[5];
  check(sd_bus_message_read(state.get(), "(bbbb)b", &flags[0], &flags[1], &flags[2], &flags[3], &flags[4]));
  const char* const names[] = {"alarm", "activeAlarm", "fault", "activeFault", "detector"};
  for (int i = 0; i < 5; ++i) {
    statistics.insert(QLatin1String(names[i]), flags[i] != 0);
  }
  return statistics;
}

QJsonArray ListClient::clientCounters() {
  const BusMessage reply = call(newCall(kEvents, "GetCounters"));
  QJsonArray clients;
  check(sd_bus_message_enter_container(reply.get(), SD_BUS_TYPE_ARRAY, "(suxa{st})"));
  while (sd_bus_message_enter_container(reply.get(), SD_BUS_TYPE_STRUCT, "suxa{st}") > 0) {
    const char* program = nullptr;
    quint32 user = 0;
    int64_t time = 0;
    check(sd_bus_message_read(reply.get(), "sux", &program, &user, &time));
    QJsonObject client = readFigures(reply);
    client.insert(QStringLiteral("program"), QString::fromUtf8(program));
    client.insert(QStringLiteral("user"), user == UINT32_MAX ? -1.0 : static_cast<double>(user));
    const QDateTime reported = QDateTime::fromMSecsSinceEpoch(time);
    client.insert(QStringLiteral("time"),
                  reported.toOffsetFromUtc(reported.offsetFromUtc()).toString(Qt::ISODateWithMs));
    clients.append(client);
    check(sd_bus_message_exit_container(reply.get()));
  }
  return clients;
}

int ListClient::timeZone() {
  const BusMessage reply = call(newCall(kEvents, "GetTimeZone"));
  int offset = 0;
  check(sd_bus_message_read_basic(reply.get(), SD_BUS_TYPE_INT32, &offset));
  return offset;
}

int ListClient::ahead() {
  if (!m_ahead) {
    m_ahead = timeZone() - QDateTime::currentDateTime().offsetFromUtc();
  }
  return *m_ahead;
}

void ListClient::subscribe(List list) {
  const Interface& interface = list == List::Events ? kEvents : kAlarms;
  check(sd_bus_match_signal(m_bus.get(), nullptr, kService, interface.path, interface.name, "Changed",
                            onChange, &m_changed));
  const std::string ownerChanges =
      std::string("type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',arg0='") + kService +
      "'";
  check(sd_bus_add_match(m_bus.get(), nullptr, ownerChanges.c_str(), onChange, &m_changed));
}

void ListClient::waitForChange() {
  while (!m_changed) {
    const int handled = sd_bus_process(m_bus.get(), nullptr);
    check(handled);
    if (handled == 0) {
      Terminal::wait(-1, sd_bus_get_fd(m_bus.get()));
    }
  }
  m_changed = false;
}
