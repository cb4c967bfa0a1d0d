// The list service's methods with arbitrary arguments, over a connection without a bus. Whatever was stored,
// it is refused as invalid or answered, and both lists stay loadable.

#include <sys/socket.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "AlarmListObject.h"
#include "EventListObject.h"
#include "Fuzz.h"
#include "ListServiceNames.h"
#include "Schema.h"

namespace {

using namespace ListServiceNames;

constexpr int kCapacity = 5;

struct Method {
  bool alarms;
  const char* name;
  const char* types;  // complete types, a blank behind each
};

constexpr Method kMethods[] = {{false, "Log", "s t i i s s x a{sv} as s s s "},
                               {false, "Delete", "s t "},
                               {false, "GetList", "s u "},
                               {false, "GetStatistics", ""},
                               {false, "GetLanguages", ""},
                               {false, "GetState", ""},
                               {true, "GetList", "s "},
                               {true, "GetState", ""},
                               {true, "GetAlarmState", "s "},
                               {true, "AcknowledgeAlarms", "s t as s "},
                               {true, "AcknowledgeDetector", "s t s "}};

/** Append one complete type; negative when sd-bus refuses the value. */
int append(sd_bus_message* message, const char* type, FuzzedDataProvider& input) {
  if (*type == 's') {
    const QString text = QString::fromStdString(input.ConsumeRandomLengthString(100)).remove(QChar());
    return sd_bus_message_append_basic(message, 's', text.toUtf8().constData());
  }
  if (*type != 'a' && *type != '{' && *type != 'v') {
    const auto number = input.ConsumeIntegral<quint64>() >> input.ConsumeIntegralInRange(0, 63);
    return sd_bus_message_append_basic(message, *type, &number);
  }
  const char* const contents =
      *type == 'v'   ? input.PickValueInArray({"s", "i", "n", "b", "v", "as", "av", "a{sv}", "aa{sv}", "d"})
      : *type == 'a' ? type + 1
                     : "sv";
  int result = sd_bus_message_open_container(message, *type == '{' ? 'e' : *type, contents);
  if (*type == '{') result = result < 0 ? result : append(message, "s", input);
  for (int count = *type == 'a' ? input.ConsumeIntegralInRange(0, 3) : 1; count > 0 && result >= 0; --count) {
    result = append(message, *type == '{' ? "v" : contents, input);
  }
  return result < 0 ? result : sd_bus_message_close_container(message);
}

/** One end of a connection within this process. */
sd_bus* start(int socket, bool server) {
  sd_bus* bus = nullptr;
  checkBus(sd_bus_new(&bus));
  checkBus(sd_bus_set_fd(bus, socket, socket));
  if (server) checkBus(sd_bus_set_server(bus, 1, sd_id128_t{{1}}));
  checkBus(sd_bus_set_anonymous(bus, 1));
  checkBus(sd_bus_start(bus));
  return bus;
}

/** The service and both ends of the connection; lives as long as the process. */
struct Service {
  int sockets[2] = {};
  int created = socketpair(AF_UNIX, SOCK_STREAM, 0, sockets);
  sd_bus* client = start(sockets[0], false);
  sd_bus* server = start(sockets[1], true);
  Database database{""};
  int opened = (Schema::open(database), 0);
  ListService lists{database, kCapacity};
  CallBatch batch{server, lists};
  Service() {
    addEventListObject(server, batch);
    addAlarmListObject(server, batch);
  }
};

int onReply(sd_bus_message* reply, void* answered, sd_bus_error*) {
  *static_cast<bool*>(answered) = true;
  const sd_bus_error* const error = sd_bus_message_get_error(reply);
  fuzz::check(error == nullptr || std::strcmp(error->name, kErrorInvalid) == 0, "failed instead of refusing");
  const char* text = nullptr;
  if (error == nullptr && sd_bus_message_has_signature(reply, "s")) {
    checkBus(sd_bus_message_read_basic(reply, 's', &text));
    const QJsonDocument document = QJsonDocument::fromJson(text);
    fuzz::check(document.isObject(), "no JSON object");
  }
  return 0;
}

void call(Service& service, const Method& method, FuzzedDataProvider& input) {
  sd_bus_message* message = nullptr;
  checkBus(sd_bus_message_new_method_call(
      service.client, &message, nullptr, method.alarms ? kAlarmListPath : kEventListPath,
      method.alarms ? kAlarmListInterface : kEventListInterface, method.name));
  int result = 0;
  for (const QByteArray& type : QByteArray(method.types).split(' ')) {
    if (!type.isEmpty() && result >= 0) result = append(message, type.constData(), input);
  }
  bool answered = result < 0;
  if (!answered)
    checkBus(sd_bus_call_async(service.client, nullptr, message, onReply, &answered, UINT64_MAX));
  sd_bus_message_unref(message);
  int rounds = 0;
  while (!answered) {
    fuzz::check(++rounds < 10000, "no answer");
    checkBus(sd_bus_process(service.client, nullptr));
    checkBus(sd_bus_process(service.server, nullptr));
    service.batch.finish();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Service service;
  service.database.execute(
      "DELETE FROM events; DELETE FROM alarms; DELETE FROM sessions; DELETE FROM sqlite_sequence; "
      "UPDATE state SET detector = 0");
  FuzzedDataProvider input(data, size);
  for (int i = 0; i < 20 && input.remaining_bytes() > 0; ++i) {
    call(service, input.PickValueInArray(kMethods), input);
  }
  call(service, kMethods[2], input);
  call(service, kMethods[6], input);
  fuzz::check(service.lists.events().count() <= kCapacity, "more entries than the capacity");
  return 0;
}
