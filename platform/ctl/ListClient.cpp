#include "ListClient.h"

#include <QJsonDocument>
#include <QUuid>

#include <cerrno>
#include <cstring>
#include <string>

#include "BusText.h"
#include "ListServiceNames.h"

using namespace ListServiceNames;

namespace {

void check(int result) {
  if (result < 0) throw ClientError(std::string("the bus failed: ") + std::strerror(-result));
}

QByteArray bytes(const QString& text) {
  return busText(text).toUtf8();
}

class BusError {
 public:
  BusError() = default;
  ~BusError() { sd_bus_error_free(&m_error); }
  BusError(const BusError&) = delete;
  BusError& operator=(const BusError&) = delete;

  sd_bus_error* get() { return &m_error; }
  [[noreturn]] void raise(int result) const {
    if (sd_bus_error_has_name(&m_error, SD_BUS_ERROR_SERVICE_UNKNOWN) > 0 ||
        sd_bus_error_has_name(&m_error, SD_BUS_ERROR_NAME_HAS_NO_OWNER) > 0 ||
        sd_bus_error_has_name(&m_error, SD_BUS_ERROR_NO_REPLY) > 0) {
      throw NoService("no list service runs on this bus; start tavroline-listd");
    }
    if (result == -ETIMEDOUT) throw ClientError("the service did not answer in time");
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

ListClient::ListClient() : m_session(QUuid::createUuid().toByteArray()) {
  sd_bus* bus = nullptr;
  const int result = sd_bus_open_system(&bus);
  if (result < 0)
    throw ClientError(std::string("no connection to the system bus: ") + std::strerror(-result));
  m_bus.reset(bus);
}

ListClient::Message ListClient::newCall(List list, const char* method) {
  const bool events = list == List::Events;
  sd_bus_message* request = nullptr;
  check(sd_bus_message_new_method_call(m_bus.get(), &request, kService,
                                       events ? kEventListPath : kAlarmListPath,
                                       events ? kEventListInterface : kAlarmListInterface, method));
  return Message(request);
}

ListClient::Message ListClient::newChange(List list, const char* method) {
  Message request = newCall(list, method);
  check(sd_bus_message_append(request.get(), "st", m_session.constData(), ++m_sequence));
  return request;
}

ListClient::Message ListClient::call(const Message& request) {
  BusError error;
  sd_bus_message* reply = nullptr;
  const int result = sd_bus_call(m_bus.get(), request.get(), 0, error.get(), &reply);
  if (result < 0) error.raise(result);
  return Message(reply);
}

QJsonObject ListClient::readList(const Message& request) {
  const Message reply = call(request);
  const char* json = nullptr;
  check(sd_bus_message_read_basic(reply.get(), SD_BUS_TYPE_STRING, &json));
  const auto list =
      QJsonDocument::fromJson(QByteArray::fromRawData(json, static_cast<int>(std::strlen(json))));
  if (!list.isObject()) throw ClientError("the service answered with something that is no list");
  return list.object();
}

QJsonObject ListClient::events(const QString& language, quint32 count) {
  const Message request = newCall(List::Events, "GetList");
  check(sd_bus_message_append(request.get(), "su", bytes(language).constData(), count));
  return readList(request);
}

QJsonObject ListClient::alarms(const QString& language) {
  const Message request = newCall(List::Alarms, "GetList");
  check(sd_bus_message_append(request.get(), "s", bytes(language).constData()));
  return readList(request);
}

QJsonObject ListClient::statistics() {
  QJsonObject statistics;
  const Message counters = call(newCall(List::Events, "GetStatistics"));
  check(sd_bus_message_enter_container(counters.get(), SD_BUS_TYPE_ARRAY, "{st}"));
  const char* name = nullptr;
  quint64 value = 0;
  while (sd_bus_message_read(counters.get(), "{st}", &name, &value) > 0) {
    statistics.insert(QString::fromUtf8(name), static_cast<double>(value));
  }
  const Message state = call(newCall(List::Alarms, "GetState"));
  int alarm = 0;
  int activeAlarm = 0;
  int fault = 0;
  int activeFault = 0;
  int detector = 0;
  check(sd_bus_message_read(state.get(), "t(bbbb)b", &value, &alarm, &activeAlarm, &fault, &activeFault,
                            &detector));
  statistics.insert(QStringLiteral("alarm"), alarm != 0);
  statistics.insert(QStringLiteral("active alarm"), activeAlarm != 0);
  statistics.insert(QStringLiteral("fault"), fault != 0);
  statistics.insert(QStringLiteral("active fault"), activeFault != 0);
  statistics.insert(QStringLiteral("detector"), detector != 0);
  return statistics;
}

void ListClient::deleteEvents() {
  call(newChange(List::Events, "Delete"));
}

void ListClient::acknowledgeAlarms(const QStringList& alarmIds, const QString& user) {
  const Message request = newChange(List::Alarms, "AcknowledgeAlarms");
  check(sd_bus_message_open_container(request.get(), SD_BUS_TYPE_ARRAY, "s"));
  for (const QString& id : alarmIds)
    check(sd_bus_message_append(request.get(), "s", bytes(id).constData()));
  check(sd_bus_message_close_container(request.get()));
  check(sd_bus_message_append(request.get(), "s", bytes(user).constData()));
  call(request);
}

void ListClient::acknowledgeDetector(const QString& user) {
  const Message request = newChange(List::Alarms, "AcknowledgeDetector");
  check(sd_bus_message_append(request.get(), "s", bytes(user).constData()));
  call(request);
}

void ListClient::subscribe(List list) {
  const bool events = list == List::Events;
  check(sd_bus_match_signal(m_bus.get(), nullptr, kService, events ? kEventListPath : kAlarmListPath,
                            events ? kEventListInterface : kAlarmListInterface, "Changed", onChange,
                            &m_changed));
  const std::string comingAndGoing =
      std::string("type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',arg0='") + kService +
      "'";
  check(sd_bus_add_match(m_bus.get(), nullptr, comingAndGoing.c_str(), onChange, &m_changed));
}

void ListClient::waitForChange() {
  while (!m_changed) {
    const int handled = sd_bus_process(m_bus.get(), nullptr);
    check(handled);
    if (handled == 0) check(sd_bus_wait(m_bus.get(), UINT64_MAX));
  }
  m_changed = false;
}
