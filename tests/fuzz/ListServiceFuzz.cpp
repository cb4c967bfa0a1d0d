// The list service's methods with arbitrary arguments, over a connection without a bus: every call is
// answered or refused as invalid, and whatever was stored, both lists stay loadable.

#include <sys/socket.h>

#include <QJsonDocument>
#include <optional>

#include "AlarmListObject.h"
#include "EventListObject.h"
#include "Fuzz.h"
#include "ListServiceNames.h"
#include "Schema.h"

namespace {

// Path, method, and its arguments' types, a blank before each.
constexpr const char* kMethods[][3] = {{"Event", "GetList", " s u"},
                                       {"Alarm", "GetList", " s"},
                                       {"Event", "Log", " s t i i s s x a{sv} as s s s"},
                                       {"Event", "Delete", " s t"},
                                       {"Event", "GetStatistics", ""},
                                       {"Alarm", "GetState", ""},
                                       {"Alarm", "GetAlarmState", " s"},
                                       {"Alarm", "AcknowledgeAlarms", " s t as s"},
                                       {"Alarm", "AcknowledgeDetector", " s t s"}};

/** Append one complete type; negative when sd-bus refuses the value. */
int append(sd_bus_message* message, const char* type, FuzzedDataProvider& input) {
  const char* contents = type + 1;
  const QByteArray text =
      QString::fromStdString(input.ConsumeRandomLengthString(50)).remove(QChar()).toUtf8();
  const quint64 number =
      (input.ConsumeIntegral<quint64>() >> input.ConsumeIntegralInRange(0, 63)) + (*type == 't' ? 1 : 0);
  if (*type == 's') return sd_bus_message_append_basic(message, 's', text.constData());
  if (std::strchr("av{", *type) == nullptr) return sd_bus_message_append_basic(message, *type, &number);
  if (*type == '{') contents = "sv";
  if (*type == 'v')
    contents = input.PickValueInArray({"s", "i", "b", "v", "as", "av", "a{sv}", "aa{sv}", "d"});
  int result = sd_bus_message_open_container(message, *type == '{' ? 'e' : *type, contents);
  for (int i = *type == 'a' ? input.ConsumeIntegralInRange(-2, 1) : 1; i < 2 && result >= 0; ++i) {
    if (*type == '{') result = append(message, "s", input);
    if (result >= 0) result = append(message, *type == '{' ? "v" : contents, input);
  }
  return result < 0 ? result : sd_bus_message_close_container(message);
}

/** The service, and both ends of a connection to it. */
struct Service {
  sd_bus* ends[2] = {};
  Database database{""};
  std::optional<ListService> lists;
  std::optional<CallBatch> batch;

  Service() {
    int sockets[2];
    socketpair(AF_UNIX, SOCK_STREAM, 0, sockets);
    for (int i : {0, 1}) {
      sd_bus_new(&ends[i]);
      sd_bus_set_fd(ends[i], sockets[i], sockets[i]);
      if (i == 1) sd_bus_set_server(ends[i], 1, sd_id128_t{{1}});
      sd_bus_set_anonymous(ends[i], 1);
      checkBus(sd_bus_start(ends[i]));
    }
    Schema::open(database);
    lists.emplace(database, 5);
    batch.emplace(ends[1], *lists);
    addEventListObject(ends[1], *batch);
    addAlarmListObject(ends[1], *batch);
  }

  static int onReply(sd_bus_message* reply, void* answered, sd_bus_error*) {
    *static_cast<bool*>(answered) = true;
    const sd_bus_error* const error = sd_bus_message_get_error(reply);
    if (error != nullptr)
      fuzz::check(std::strcmp(error->name, ListServiceNames::kErrorInvalid) == 0, error->message);
    const char* text = "{}";
    if (error == nullptr && sd_bus_message_has_signature(reply, "s") != 0)
      sd_bus_message_read_basic(reply, 's', &text);
    fuzz::check(QJsonDocument::fromJson(text).isObject(), "no JSON object");
    return 0;
  }

  void call(const char* const (&method)[3], FuzzedDataProvider& input) {
    const std::string list = method[0];
    sd_bus_message* message = nullptr;
    checkBus(sd_bus_message_new_method_call(ends[0], &message, nullptr,
                                            ("/org/tavroline/" + list + "List").c_str(),
                                            ("org.tavroline." + list + "List1").c_str(), method[1]));
    int result = 0;
    for (const QByteArray& type : QByteArray(method[2]).split(' ').mid(1)) {
      if (result >= 0) result = append(message, type.constData(), input);
    }
    bool answered = result < 0;
    if (!answered) checkBus(sd_bus_call_async(ends[0], nullptr, message, onReply, &answered, UINT64_MAX));
    sd_bus_message_unref(message);
    while (!answered) {
      for (sd_bus* end : ends)
        checkBus(sd_bus_process(end, nullptr));
      batch->finish();
    }
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Service service;
  service.database.execute(
      "DELETE FROM events; DELETE FROM alarms; DELETE FROM sessions; DELETE FROM sqlite_sequence; "
      "UPDATE state SET detector = 0");
  FuzzedDataProvider input(data, size);
  for (int i = 0; i < 20 && input.remaining_bytes() > 0; ++i) {
    service.call(kMethods[input.ConsumeIntegralInRange<std::size_t>(0, std::size(kMethods) - 1)], input);
  }
  service.call(kMethods[0], input);
  service.call(kMethods[1], input);
  return 0;
}
