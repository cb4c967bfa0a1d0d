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

// Path, interface, method, and its arguments' types; first those that load a list.
constexpr const char* kMethods[][4] = {
    {kEventListPath, kEventListInterface, "GetList", "s u"},
    {kAlarmListPath, kAlarmListInterface, "GetList", "s"},
    {kEventListPath, kEventListInterface, "Log", "s t i i s s x a{sv} as s s s"},
    {kEventListPath, kEventListInterface, "Delete", "s t"},
    {kAlarmListPath, kAlarmListInterface, "GetAlarmState", "s"},
    {kAlarmListPath, kAlarmListInterface, "AcknowledgeAlarms", "s t as s"},
    {kAlarmListPath, kAlarmListInterface, "AcknowledgeDetector", "s t s"}};

/** Append one complete type, no deeper than sd-bus takes. */
void append(sd_bus_message* message, const char* type, FuzzedDataProvider& input, int depth = 0) {
  const QByteArray text =
      Tavroline::busText(QString::fromStdString(input.ConsumeRandomLengthString(50))).toUtf8();
  const quint64 number = input.ConsumeIntegral<quint64>() >> input.ConsumeIntegralInRange(0, 63);
  if (*type == 's') return checkBus(sd_bus_message_append_basic(message, 's', text.constData()));
  if (std::strchr("av{", *type) == nullptr)
    return checkBus(sd_bus_message_append_basic(message, *type, &number));
  const char* contents = *type == '{' ? "sv" : type + 1;
  if (*type == 'v') contents = depth < 20 ? input.PickValueInArray({"s", "i", "aas", "aaa{sv}", "d"}) : "s";
  checkBus(sd_bus_message_open_container(message, *type == '{' ? 'e' : *type, contents));
  if (*type == '{') append(message, "s", input);
  for (int count = *type == 'a' ? input.ConsumeIntegralInRange(0, 3) : 1; count > 0; --count)
    append(message, *type == '{' ? "v" : contents, input, depth + 1);
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

void call(sd_bus* const (&ends)[2], CallBatch& batch, std::size_t row, FuzzedDataProvider& input) {
  const auto& [path, interface, method, types] = kMethods[row];
  sd_bus_message* message = nullptr;
  checkBus(sd_bus_message_new_method_call(ends[0], &message, nullptr, path, interface, method));
  for (const QByteArray& type : QByteArray(types).split(' '))
    append(message, type.constData(), input);
  std::uint64_t cookie = 0;  // who does not ask for it expects no reply
  checkBus(sd_bus_send(ends[0], message, &cookie));
  do {
    message = sd_bus_message_unref(message);
    checkBus(sd_bus_process(ends[1], nullptr));
    batch.finish();
    checkBus(sd_bus_process(ends[0], &message));
  } while (message == nullptr || sd_bus_message_is_signal(message, nullptr, nullptr) != 0);
  const sd_bus_error* const error = sd_bus_message_get_error(message);
  fuzz::check(error == nullptr || std::strcmp(error->name, kErrorInvalid) == 0, "another error");
  const char* list = "{}";
  if (error == nullptr && row < 2) sd_bus_message_read_basic(message, 's', &list);
  fuzz::check(QJsonDocument::fromJson(list).isObject(), "no JSON object");
  sd_bus_message_unref(message);
}

}  // namespace

void fuzz::run(FuzzedDataProvider& input) {
  Database database("");
  Schema::open(database);
  ListService lists(database, 5);
  int sockets[2];
  socketpair(AF_UNIX, SOCK_STREAM, 0, sockets);
  sd_bus* const ends[] = {connection(sockets[0], false), connection(sockets[1], true)};
  CallBatch batch(ends[1], lists);
  addEventListObject(ends[1], batch);
  addAlarmListObject(ends[1], batch);
  for (int i = 0; i < 20 && input.remaining_bytes() > 0; ++i)
    call(ends, batch, input.ConsumeIntegralInRange<std::size_t>(0, std::size(kMethods) - 1), input);
  for (std::size_t row : {0UL, 1UL})
    call(ends, batch, row, input);
  for (sd_bus* end : ends)
    sd_bus_close_unref(end);
}
