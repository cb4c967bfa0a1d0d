// A list service that answers late, wrongly or not at all, for scripts/hostile.
//
// Calls pass disturb() before they reach the lists; confirmations and signals pass the two functions at the
// end, which replace those of the bus library. One line each on standard output: "ready", "fault NAME",
// "confirmed SESSION NUMBER" before a confirmation is sent, "flags DIGITS" when the flags of the alarm list
// have changed.
#include <systemd/sd-bus.h>

#include <algorithm>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "AlarmListObject.h"
#include "CallBatch.h"
#include "EventListObject.h"
#include "ListServiceNames.h"
#include "Schema.h"

namespace {

using Message = std::shared_ptr<sd_bus_message>;

std::mt19937 s_random;
std::map<std::string, unsigned> s_faults;  ///< by name; one call in N is disturbed
std::vector<Message> s_confirmations;      ///< held back until the signals are sent

bool strike(const char* fault) {
  const unsigned oneIn = s_faults[fault];
  if (oneIn == 0 || s_random() % oneIn != 0) {
    return false;
  }
  dprintf(STDOUT_FILENO, "fault %s\n", fault);
  return true;
}

const char* anyOf(const std::vector<const char*>& texts) {
  return texts[s_random() % texts.size()];
}

template <typename... Values>
Message reply(sd_bus_message* call, const char* types, Values... values) {
  sd_bus_message* message = nullptr;
  checkBus(sd_bus_message_new_method_return(call, &message));
  checkBus(sd_bus_message_append(message, types, values...));
  return {message, sd_bus_message_unref};
}

void send(const Message& message) {
  checkBus(sd_bus_send(nullptr, message.get(), nullptr));
}

/** Reports a confirmation: any reply to a message that is not an error. Does nothing for a query. */
void noteConfirmation(sd_bus_message* call) {
  const char* session = nullptr;
  uint64_t number = 0;
  if (sd_bus_message_rewind(call, 1) >= 0 && sd_bus_message_read(call, "st", &session, &number) > 0) {
    dprintf(STDOUT_FILENO, "confirmed %s %llu\n", session, static_cast<unsigned long long>(number));
  }
}

std::string manyEntries() {
  std::string list = R"({"ListData":[null)";
  for (int i = 0; i < 100000; ++i) {
    list += R"(,{"EventType":3,"LocalTime":"2024-02-29T12:00:00.000","Description":"full"})";
  }
  return list + "]}";
}

/** A wrong list or alarm state, or null to answer correctly. */
const char* wrongText() {
  if (strike("many")) {
    static const std::string many = manyEntries();
    return many.c_str();
  }
  if (!strike("json")) {
    return nullptr;
  }
  static const std::string deep = R"({"ListData":)" + std::string(5000, '[');
  return anyOf({"", R"({"ListData":[{"EventType":)", deep.c_str(), R"({"ListData":{},"AlarmActive":2})",
                R"({"ListData":[{"Keywords":[["a"]],"Keywords":[]}]})",
                R"({"ListData":[null,"x",{"LocalTime":"2024-13-99T99:99:99","Description":[{}]}]})"});
}

/** Filters each received message. @return 1 if the lists must not see it */
int disturb(sd_bus_message* call, void*, sd_bus_error*) {
  if (sd_bus_message_is_method_call(call, nullptr, nullptr) <= 0) {
    return 0;
  }
  const std::string member = sd_bus_message_get_member(call);
  if (strike("late")) {
    std::this_thread::sleep_for(std::chrono::milliseconds(s_random() % 400));
  }
  const bool question = member.rfind("Get", 0) == 0;
  if (strike("never") || (question && strike("mute"))) {
    return 1;
  }
  if (strike("error")) {
    const char* name =
        anyOf({"org.tavroline.Error.Storm", SD_BUS_ERROR_LIMITS_EXCEEDED, SD_BUS_ERROR_NO_REPLY});
    sd_bus_reply_method_errorf(call, name, "%s", anyOf({"", "%s%n%s\n\x1b[2J", "\xc3\xa4\xe2\x82\xac"}));
    return 1;
  }
  if (strike("types")) {
    noteConfirmation(call);
    send(s_random() % 2 == 0 ? reply(call, "as", 2, "a", "b") : reply(call, "v", "i", 1));
    return 1;
  }
  const char* text = member == "GetList" || member == "GetAlarmState" ? wrongText() : nullptr;
  if (text != nullptr) {
    send(reply(call, "s", text));
  }
  return text != nullptr ? 1 : 0;
}

/** Serves until the process is killed or the bus connection fails. */
[[noreturn]] void serve(sd_bus* bus, ListService& service, CallBatch& batch) {
  std::string shown;
  for (;;) {
    int handled = 0;
    do {
      handled = sd_bus_process(bus, nullptr);
      checkBus(handled);
    } while (handled > 0);
    batch.finish();
    std::shuffle(s_confirmations.begin(), s_confirmations.end(), s_random);
    std::for_each(s_confirmations.begin(), s_confirmations.end(), send);
    s_confirmations.clear();
    const ListSnapshot now = service.snapshot();
    const AlarmSummary& alarms = now.summary;
    std::string flags;
    for (const bool flag :
         {alarms.alarm, alarms.activeAlarm, alarms.fault, alarms.activeFault, now.detector}) {
      flags += flag ? '1' : '0';
    }
    if (shown != flags) {
      dprintf(STDOUT_FILENO, "flags %s\n", flags.c_str());
    }
    shown = flags;
    const int due = batch.timeout();
    sd_bus_wait(bus, due < 0 ? UINT64_MAX : uint64_t(due) * 1000);
  }
}

}  // namespace

// Called by the lists to confirm a message.
int sd_bus_reply_method_return(sd_bus_message* call, const char* types, ...) {
  noteConfirmation(call);
  if (strike("unconfirmed")) {
    return 1;
  }
  const Message confirmation = reply(call, types);
  if (strike("early")) {
    s_confirmations.push_back(confirmation);
  } else {
    send(confirmation);
  }
  return 1;
}

int sd_bus_emit_signal(sd_bus* bus, const char* path, const char* interface, const char* member,
                       const char* types, ...) {
  if (strike("dropped")) {
    return 1;
  }
  va_list values;
  va_start(values, types);
  const int result = sd_bus_emit_signalv(bus, path, interface, member, strike("types") ? "" : types, values);
  va_end(values);
  return result;
}

/** Arguments: seed, database file ("" for none), and pairs of a fault and N: it disturbs one call in N. */
int main(int argc, char** argv) {
  try {
    const std::vector<std::string> words(argv + 1, argv + argc);
    s_random.seed(static_cast<unsigned>(std::stoul(words.at(0))));
    for (std::size_t i = 2; i + 1 < words.size(); i += 2) {
      s_faults[words[i]] = static_cast<unsigned>(std::stoul(words[i + 1]));
    }
    Database database(words.at(1));
    Schema::open(database);
    ListService service(database, 10000);
    sd_bus* bus = nullptr;
    checkBus(sd_bus_open_system(&bus));
    checkBus(sd_bus_add_filter(bus, nullptr, disturb, nullptr));
    CallBatch batch(bus, service);
    addEventListObject(bus, batch);
    addAlarmListObject(bus, batch);
    checkBus(sd_bus_request_name(bus, Tavroline::ListServiceNames::kService,
                                 SD_BUS_NAME_REPLACE_EXISTING | SD_BUS_NAME_ALLOW_REPLACEMENT));
    dprintf(STDOUT_FILENO, "ready\n");
    serve(bus, service, batch);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "faulty-listd: %s\n", error.what());
    return 1;
  }
}
