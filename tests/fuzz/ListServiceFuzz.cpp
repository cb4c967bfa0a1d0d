// The list service's methods with arbitrary arguments, over a connection without a bus: every call is
// answered or refused as invalid, and whatever was stored, both lists stay loadable.

#include <sys/socket.h>

#include <QJsonDocument>

#include "AlarmListObject.h"
#include "BusText.h"
#include "EventListObject.h"
#include "Fuzz.h"
#include "ListServiceNames.h"
#include "Schema.h"

using namespace Tavroline::ListServiceNames;

namespace {

// Path, interface, method, and the types of its arguments.
constexpr const char* kMethods[][4] = {
    {kEventListPath, kEventListInterface, "Log", "s t i i s s x a{sv} as s s s"},
    {kEventListPath, kEventListInterface, "Delete", "s t"},
    {kEventListPath, kEventListInterface, "GetList", "s u"},
    {kAlarmListPath, kAlarmListInterface, "GetAlarmState", "s"},
    {kAlarmListPath, kAlarmListInterface, "AcknowledgeAlarms", "s t as s"},
    {kAlarmListPath, kAlarmListInterface, "AcknowledgeDetector", "s t s"}};

/** Append one complete type, no deeper than sd-bus takes. */
void append(sd_bus_message* message, const char* type, FuzzedDataProvider& input, int depth = 0) {
  const QString words = QString::fromStdString(input.ConsumeRandomLengthString(50));
  const QByteArray text = Tavroline::busText(words).toUtf8();
  const quint64 number = input.ConsumeIntegral<quint64>() >> input.ConsumeIntegralInRange(0, 63);
  if (std::strchr("av{", *type) == nullptr) {
    const void* const value = *type == 's' ? text.constData() : static_cast<const void*>(&number);
    return checkBus(sd_bus_message_append_basic(message, *type, value));
  }
  const char* const varied = depth < 20 ? input.PickValueInArray({"s", "i", "aas", "aaa{sv}", "d"}) : "s";
  const char* const contents = *type == 'a' ? type + 1 : *type == 'v' ? varied : "sv";
  checkBus(sd_bus_message_open_container(message, *type == '{' ? 'e' : *type, contents));
  if (*type == '{') {
    append(message, "s", input);
  }
  for (int count = *type == 'a' ? input.ConsumeIntegralInRange(0, 3) : 1; count > 0; --count) {
    append(message, *type == '{' ? "v" : contents, input, depth + 1);
  }
  checkBus(sd_bus_message_close_container(message));
}

sd_bus* connection(int socket, bool server) {
  sd_bus* bus = nullptr;
  checkBus(sd_bus_new(&bus));
  checkBus(sd_bus_set_fd(bus, socket, socket));
  checkBus(sd_bus_set_server(bus, server, sd_id128_t{{server}}));
  checkBus(sd_bus_start(bus));
  return bus;
}

void call(sd_bus* client, sd_bus* service, CallBatch& batch, FuzzedDataProvider& input) {
  const auto row = input.ConsumeIntegralInRange<std::size_t>(0, std::size(kMethods) - 1);
  const auto& [path, interface, method, types] = kMethods[row];
  sd_bus_message* message = nullptr;
  checkBus(sd_bus_message_new_method_call(client, &message, nullptr, path, interface, method));
  for (const QByteArray& type : QByteArray(types).split(' ')) {
    append(message, type.constData(), input);
  }
  std::uint64_t cookie = 0;  // without it sd-bus expects no reply
  checkBus(sd_bus_send(client, message, &cookie));
  do {
    message = sd_bus_message_unref(message);
    checkBus(sd_bus_process(service, nullptr));
    batch.finish();
    checkBus(sd_bus_process(client, &message));
  } while (message == nullptr || sd_bus_message_is_signal(message, nullptr, nullptr) != 0);
  const sd_bus_error* const error = sd_bus_message_get_error(message);
  fuzz::check(error == nullptr || std::strcmp(error->name, kErrorInvalid) == 0, "another error");
  sd_bus_message_unref(message);
}

}  // namespace

void fuzz::run(FuzzedDataProvider& input) {
  Database database("");
  Schema::open(database);
  ListService lists(database, 5);
  int sockets[2];
  socketpair(AF_UNIX, SOCK_STREAM, 0, sockets);
  sd_bus* const client = connection(sockets[0], false);
  sd_bus* const service = connection(sockets[1], true);
  CallBatch batch(service, lists);
  addEventListObject(service, batch);
  addAlarmListObject(service, batch);
  for (int i = 0; i < 20 && input.remaining_bytes() > 0; ++i) {
    call(client, service, batch, input);
  }
  for (const QByteArray& list : {lists.events().list(QString(), 0), lists.alarms().list(QString())}) {
    check(QJsonDocument::fromJson(list).isObject(), "a list cannot be loaded");
  }
  sd_bus_close_unref(client);
  sd_bus_close_unref(service);
}
