#include "ListClient.h"

#include <QJsonDocument>
#include <QUuid>

#include "BusCalls.h"
#include "BusText.h"
#include "EntryFilter.h"
#include "EventlistHandlerDefinitions.h"
#include "Terminal.h"

using namespace Tavroline::ListServiceNames;
using namespace BusCalls;
using Keys = EventlistHandlerDefinitions;

namespace {

constexpr BusInterface kBus{"/org/freedesktop/DBus", "org.freedesktop.DBus", "org.freedesktop.DBus"};

QByteArray bytes(const std::string& text) {
  return Tavroline::busText(QString::fromStdString(text)).toUtf8();
}

/** The time of an entry of the service, with its offset from UTC. @param ahead see ListClient::ahead() */
QDateTime timeOf(const QJsonObject& entry, int ahead) {
  const QString clock = entry.value(Keys::getListColumnNameLocalTime()).toString();
  const QDateTime shown = QDateTime::fromString(clock + QLatin1Char('Z'), Qt::ISODateWithMs);
  const QJsonValue exact = entry.value(QStringLiteral("Time"));
  if (!exact.isDouble()) {
    return EntryFilter::clockTime(shown.date(), shown.time(), ahead);
  }
  const auto instant = static_cast<qint64>(exact.toDouble());  // a page
  return QDateTime::fromMSecsSinceEpoch(instant, Qt::OffsetFromUTC,
                                        static_cast<int>((shown.toMSecsSinceEpoch() - instant) / 1000));
}

/** An entry of the service as users see it. */
QJsonObject entryOf(const QJsonObject& entry, int ahead) {
  static const std::pair<QString, QString> kMembers[] = {
      {QStringLiteral("id"), Keys::getListColumnNameEventlistId()},
      {QStringLiteral("id"), Keys::getListColumnNameAlarmID()},
      {QStringLiteral("active"), Keys::getListColumnNameAlarmActive()},
      {QStringLiteral("acknowledged"), Keys::getListColumnNameAlarmAcknowledgment()},
      {QStringLiteral("icon"), Keys::getListColumnNameIconType()},
      {QStringLiteral("module"), Keys::getListColumnNameModuleName()},
      {QStringLiteral("description"), Keys::getListColumnNameDescription()},
      {QStringLiteral("user"), Keys::getListColumnNameUser()},
      {QStringLiteral("keywords"), Keys::getListColumnNameKeywords()}};
  const int type = entry.value(Keys::getListColumnNameEventType()).toInt();
  QJsonObject result{{QStringLiteral("time"), timeOf(entry, ahead).toString(Qt::ISODateWithMs)},
                     {QStringLiteral("type"), ListClient::typeNames().value(type, QString::number(type))}};
  for (const auto& [name, column] : kMembers) {
    if (entry.contains(column)) {
      result.insert(name, entry.value(column));
    }
  }
  return result;
}

QJsonArray readList(const BusMessage& reply, int ahead) {
  const auto list = QJsonDocument::fromJson(readText(reply));
  if (!list.isObject()) {
    throw ClientError("the service's reply is not a list");
  }
  const int omitted = list[QStringLiteral("Omitted")].toInt();
  if (omitted > 0) {
    std::fprintf(stderr, "tavroline-ctl: %d older entries did not fit into the service's reply\n", omitted);
  }
  QJsonArray entries;
  for (const QJsonValue entry : list[Keys::getListDataName()].toArray()) {
    entries.append(entryOf(entry.toObject(), ahead));
  }
  return entries;
}

/** Reads a dictionary of counters (a{st}). */
QJsonObject readFigures(const BusMessage& reply) {
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

int onChange(sd_bus_message*, void* changed, sd_bus_error*) {
  *static_cast<bool*>(changed) = true;
  return 0;
}

}  // namespace

ListClient::ListClient() {
  sd_bus* bus = nullptr;
  const int result = sd_bus_open_system(&bus);
  if (result < 0) {
    throw NoBus("no connection to the bus at " + address().toStdString() + ": " + std::strerror(-result) +
                "; start it, or set DBUS_SYSTEM_BUS_ADDRESS");
  }
  m_bus.reset(bus);
}

QString ListClient::address() {
  return qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS",
                              QStringLiteral("unix:path=/run/dbus/system_bus_socket"));
}

bool ListClient::isListed(const char* names) {
  const BusMessage reply = call(m_bus, kBus, names);
  const char* name = nullptr;
  check(sd_bus_message_enter_container(reply.get(), SD_BUS_TYPE_ARRAY, "s"));
  while (sd_bus_message_read(reply.get(), "s", &name) > 0) {
    if (std::strcmp(name, kService) == 0) {
      return true;
    }
  }
  return false;
}

bool ListClient::mayCall(const BusInterface& interface, const char* method) {
  try {
    // No method has a single byte as its argument: the service refuses the call without carrying it out.
    call(m_bus, interface, method, "y", 0);
  } catch (const Forbidden&) {
    return false;
  } catch (const NotOffered&) {
    throw;
  } catch (const ClientError&) {
  }
  return true;
}

void ListClient::send(const Tavroline::MessageWriter& message) {
  if (!message.isSendable()) {
    throw ClientError("the text is too long");
  }
  const QByteArray session = QUuid::createUuid().toByteArray();
  const std::string_view bytes = message.bytes();
  const BusMessage request =
      newCall(m_bus, kMessageInterface, "Send", "stt", session.constData(), quint64{1}, quint64{0});
  check(sd_bus_message_append_array(request.get(), SD_BUS_TYPE_BYTE, bytes.data(), bytes.size()));
  call(m_bus, kMessageInterface, "Resume", "ss", session.constData(), "tavroline-ctl");
  const BusMessage reply = replyTo(request);
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

const QStringList& ListClient::typeNames() {
  static const QStringList kNames{QStringLiteral("alarm"), QStringLiteral("audit"), QStringLiteral("fault"),
                                  QStringLiteral("event")};
  return kNames;
}

QJsonArray ListClient::events(const std::string& language, quint32 count) {
  return readList(call(m_bus, kEventInterface, "GetList", "su", bytes(language).constData(), count), ahead());
}

QJsonArray ListClient::alarms(const std::string& language) {
  return readList(call(m_bus, kAlarmInterface, "GetList", "s", bytes(language).constData()), ahead());
}

ListClient::Page ListClient::eventsAfter(quint64 epoch, qint64 number, const std::string& language) {
  constexpr quint32 kMost = 1000;
  const BusMessage reply =
      call(m_bus, kEventInterface, "GetEntries", "txus", epoch, number, kMost, bytes(language).constData());
  int64_t oldest = 0;
  int64_t last = 0;
  check(sd_bus_message_read(reply.get(), "txx", &epoch, &oldest, &last));
  return {epoch, oldest, last, readList(reply, ahead())};
}

QJsonObject ListClient::statistics() {
  QJsonObject statistics = readFigures(call(m_bus, kEventInterface, "GetStatistics"));
  const BusMessage state = call(m_bus, kAlarmInterface, "GetState");
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
  const BusMessage reply = call(m_bus, kEventInterface, "GetCounters");
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

int ListClient::ahead() {
  if (!m_ahead) {
    const BusMessage reply = call(m_bus, kEventInterface, "GetTimeZone");
    int offset = 0;
    check(sd_bus_message_read_basic(reply.get(), SD_BUS_TYPE_INT32, &offset));
    m_ahead = offset - QDateTime::currentDateTime().offsetFromUtc();
  }
  return *m_ahead;
}

void ListClient::subscribe(List list) {
  const BusInterface& interface = list == List::Events ? kEventInterface : kAlarmInterface;
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
