// Makes the list service answer late, wrongly or not at all, for scripts/hostile: preloaded into
// tavroline-listd, it stands before some functions of the bus library. TAVROLINE_FAULTS="SEED NAME N NAME N
// ...": the fault NAME disturbs one call or signal in N. "fault NAME" is printed for each.
#include <dlfcn.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ListServiceNames.h"

#define EXPORTED extern "C" __attribute__((visibility("default")))

namespace {

using namespace Tavroline::ListServiceNames;
using Message = std::shared_ptr<sd_bus_message>;

std::mt19937 s_random;
std::map<std::string, unsigned> s_faults;  ///< by name; one in N is disturbed
/** By number of the call what is sent in place of its answer; null for nothing. */
std::map<std::uint64_t, Message> s_answers;
std::vector<Message> s_early;  ///< answers held back until a signal is sent

/** The bus library's own function. */
template <typename Function>
Function* next(Function* /*same*/, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

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
Message answer(sd_bus_message* call, const char* types, Values... values) {
  sd_bus_message* message = nullptr;
  sd_bus_message_new_method_return(call, &message);
  sd_bus_message_append(message, types, values...);
  return {message, sd_bus_message_unref};
}

/** The signal without its arguments. */
Message bare(sd_bus* bus, sd_bus_message* signal) {
  sd_bus_message* message = nullptr;
  sd_bus_message_new_signal(bus, &message, sd_bus_message_get_path(signal),
                            sd_bus_message_get_interface(signal), sd_bus_message_get_member(signal));
  return {message, sd_bus_message_unref};
}

void sendEarlyOnes() {
  for (const Message& message : std::exchange(s_early, {})) {
    next(sd_bus_send, "sd_bus_send")(nullptr, message.get(), nullptr);
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

/** Filters each received message. @return 1 if the service must not see it */
int disturb(sd_bus_message* call, void* /*data*/, sd_bus_error* /*error*/) {
  sendEarlyOnes();
  if (sd_bus_message_is_method_call(call, nullptr, nullptr) <= 0) {
    return 0;
  }
  const std::string member = sd_bus_message_get_member(call);
  const bool question = member.rfind("Get", 0) == 0;
  if (strike("late")) {
    std::this_thread::sleep_for(std::chrono::milliseconds(s_random() % 400));
  }
  if (strike("never") || (question && strike("mute"))) {
    return 1;
  }
  if (strike("error")) {
    const char* name = anyOf(
        {"org.tavroline.Error.Storm", SD_BUS_ERROR_LIMITS_EXCEEDED, SD_BUS_ERROR_NO_REPLY, kErrorNotNow});
    sd_bus_reply_method_errorf(call, name, "%s", anyOf({"", "%s%n%s\n\x1b[2J", "\xc3\xa4\xe2\x82\xac"}));
    return 1;
  }
  std::uint64_t number = 0;
  sd_bus_message_get_cookie(call, &number);
  if (strike("types")) {
    s_answers[number] = s_random() % 2 == 0 ? answer(call, "as", 2, "a", "b") : answer(call, "v", "i", 1);
  } else if (!question && strike("unconfirmed")) {
    s_answers[number] = nullptr;
  }
  const char* text = member == "GetList" || member == "GetAlarmState" ? wrongText() : nullptr;
  if (text != nullptr) {
    sd_bus_send(nullptr, answer(call, "s", text).get(), nullptr);
  }
  return text != nullptr ? 1 : 0;
}

}  // namespace

/** Sends what the service answers and signals; the bus library calls it too. */
EXPORTED int sd_bus_send(sd_bus* bus, sd_bus_message* message, std::uint64_t* cookie) {
  static auto* const send = next(sd_bus_send, "sd_bus_send");
  std::uint8_t type = 0;
  std::uint64_t number = 0;
  sd_bus_message_get_type(message, &type);
  if (type == SD_BUS_MESSAGE_SIGNAL) {
    if (!strike("dropped")) {
      send(bus, strike("types") ? bare(bus, message).get() : message, cookie);
    }
    sendEarlyOnes();
    return 0;
  }
  if (type != SD_BUS_MESSAGE_METHOD_RETURN || sd_bus_message_get_reply_cookie(message, &number) < 0) {
    return send(bus, message, cookie);
  }
  Message sent(sd_bus_message_ref(message), sd_bus_message_unref);
  if (const auto other = s_answers.find(number); other != s_answers.end()) {
    sent = other->second;
    s_answers.erase(other);
  }
  if (sent != nullptr && strike("early")) {
    s_early.push_back(sent);
    return 0;
  }
  return sent == nullptr ? 0 : send(nullptr, sent.get(), nullptr);
}

/** The service calls it when its objects are on the bus. Another service may take the name over. */
EXPORTED int sd_bus_request_name(sd_bus* bus, const char* name, std::uint64_t /*flags*/) {
  std::istringstream words(std::getenv("TAVROLINE_FAULTS"));
  unsigned seed = 0;
  words >> seed;
  s_random.seed(seed);
  for (std::string fault; words >> fault;) {
    words >> s_faults[fault];
  }
  sd_bus_add_filter(bus, nullptr, disturb, nullptr);
  return next(sd_bus_request_name, "sd_bus_request_name")(
      bus, name, SD_BUS_NAME_REPLACE_EXISTING | SD_BUS_NAME_ALLOW_REPLACEMENT);
}
