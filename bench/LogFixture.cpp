#include "LogFixture.h"

#include "MessageWriter.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <stdexcept>
#include <string_view>
#include <thread>

using namespace Tavroline::ListServiceNames;

namespace {

constexpr char kKeywords[3][8] = {"water", "pump", "basin"};

int check(int result) {
  if (result < 0) {
    throw std::runtime_error(std::strerror(-result));
  }
  return result;
}

template <std::size_t Capacity>
void put(char (&field)[Capacity], std::string_view text) {
  text.copy(field, Capacity - 1);
}
template <std::size_t Capacity>
void put(unsigned short (&field)[Capacity], std::string_view text) {
  std::copy(text.begin(), text.end(), field);
}

/** For texts without surrogates. */
std::string utf8(const unsigned short* text) {
  std::string result;
  for (; text != nullptr && *text != 0; ++text) {
    const unsigned unit = *text;
    if (unit < 0x80) {
      result += static_cast<char>(unit);
    } else if (unit < 0x800) {
      result += {static_cast<char>(0xC0U | unit >> 6U), static_cast<char>(0x80U | (unit & 0x3FU))};
    } else {
      result += {static_cast<char>(0xE0U | unit >> 12U), static_cast<char>(0x80U | (unit >> 6U & 0x3FU)),
                 static_cast<char>(0x80U | (unit & 0x3FU))};
    }
  }
  return result;
}

void appendData(sd_bus_message* message, const stDataType& data) {
  check(sd_bus_message_append(message, "{sv}{sv}{sv}{sv}{sv}", "TextSource", "i", int{data.iTextSource},
                              "ModuleName", "s", &data.sModuleName[0], "ObjectName", "s",
                              &data.sObjectName[0], "InstanceName", "s", &data.sInstanceName[0], "Url", "s",
                              &data.sUrl[0]));
}

/** A key whose value is a list, one map for each element. */
template <typename Element, typename Append>
void appendList(sd_bus_message* message, const char* key, const Element* elements,
                const __ARRAY__DIM__INFO& dimension, Append append) {
  check(sd_bus_message_open_container(message, 'e', "sv"));
  check(sd_bus_message_append(message, "s", key));
  check(sd_bus_message_open_container(message, 'v', "av"));
  check(sd_bus_message_open_container(message, 'a', "v"));
  for (int i = dimension.lower; i <= dimension.upper; ++i) {
    check(sd_bus_message_open_container(message, 'v', "a{sv}"));
    check(sd_bus_message_open_container(message, 'a', "{sv}"));
    append(*elements++);
    check(sd_bus_message_close_container(message));
    check(sd_bus_message_close_container(message));
  }
  for (int i = 0; i < 3; ++i) {
    check(sd_bus_message_close_container(message));
  }
}

std::int64_t now() {
  timespec time{};
  clock_gettime(CLOCK_REALTIME, &time);
  return std::int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1000000;
}

}  // namespace

BusAndService::BusAndService(bool keepsLists)
    : m_service(TAVROLINE_LISTD, keepsLists ? std::vector<std::string>{"--db", bus.folder() + "/lists.db"}
                                            : std::vector<std::string>()) {
  if (!bus.waitForName(kService)) {
    throw std::runtime_error("no list service: " + m_service.output());
  }
  check(sd_bus_open_system(&m_connection));
}

BusAndService::~BusAndService() {
  sd_bus_flush_close_unref(m_connection);
}

std::uint64_t BusAndService::stored(const char* service) const {
  sd_bus_message* reply = nullptr;
  check(sd_bus_call_method(m_connection, service, kEventListPath, kEventListInterface, "GetStatistics",
                           nullptr, &reply, nullptr));
  check(sd_bus_message_enter_container(reply, 'a', "{st}"));
  std::uint64_t result = 0;
  const char* name = nullptr;
  std::uint64_t value = 0;
  while (check(sd_bus_message_read(reply, "{st}", &name, &value)) > 0) {
    if (std::strcmp(name, "stored") == 0) {
      result = value;
    }
  }
  sd_bus_message_unref(reply);
  return result;
}

void BusAndService::waitForStored(std::uint64_t count, const char* service) const {
  // Each query costs the service time, so the pause is about as long as most of the rest will take.
  Milliseconds pause(5);
  std::uint64_t last = stored(service);
  const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  while (last < count) {
    if (std::chrono::steady_clock::now() > end) {
      throw std::runtime_error("not all of " + std::to_string(count) + " entries are stored");
    }
    std::this_thread::sleep_for(pause);
    const std::uint64_t present = stored(service);
    const std::uint64_t added = std::max<std::uint64_t>(present - last, 1);
    const std::uint64_t rest = count - std::min(present, count);
    pause = std::clamp<Milliseconds>(pause * rest * 3 / (added * 4), Milliseconds(1), Milliseconds(50));
    last = present;
  }
}

LogFixture::LogFixture(bool withArguments) {
  for (stDataType* data : {&m_data, &m_urlArgument.stData}) {
    put(data->sModuleName, "WaterPumps");
    put(data->sObjectName, "PressureAboveLimit");
    put(data->sInstanceName, "Station north, pump 3");
    put(data->sUrl, "/stations/north/pumps/3");
  }
  put(m_arguments[0].wsPlaceholder, "pressure");
  put(m_arguments[0].wsArgument, "7.31 bar");
  put(m_arguments[1].wsPlaceholder, "limit");
  put(m_arguments[1].wsArgument, "6.50 bar");
  put(m_urlArgument.wsPlaceholder, "pump");

  event.iEventType = TAVROLINE_EVENT;
  event.psIconType = "valve";
  event.psModuleName = "WaterPumps";
  event.pstData = &m_data;
  event.iKeywordSize = sizeof kKeywords[0];
  event.pasKeywords = kKeywords[0];
  event.pastArguments = m_arguments;
  event.pastUrlArguments = &m_urlArgument;
  event.stKeywordsDimInfo = {0, 2};
  event.stArgumentsDimInfo = {0, withArguments ? 1 : -1};
  event.stUrlArgumentsDimInfo = {0, withArguments ? 0 : -1};

  // logalarm_struct is a handle followed by the members of logevent_struct.
  std::memcpy(&alarm.iEventType, &event, sizeof event);
  alarm.iEventType = TAVROLINE_ALARM;
}

PlainSender::PlainSender(const char* receiver) : m_receiver(receiver) {
  check(sd_bus_open_system(&m_bus));
  const char* name = nullptr;
  check(sd_bus_get_unique_name(m_bus, &name));
  m_session = std::string("plain") + name;
}

PlainSender::~PlainSender() {
  sd_bus_flush_close_unref(m_bus);
}

sd_bus_message* PlainSender::build(const logevent_struct& event) {
  sd_bus_message* message = nullptr;
  check(sd_bus_message_new_method_call(m_bus, &message, m_receiver.c_str(), kEventListPath,
                                       kEventListInterface, "Log"));
  check(sd_bus_message_append(message, "stiissx", m_session.c_str(), ++m_sequence, int{event.iEventType},
                              int{event.iState}, event.psIconType, event.psModuleName, now()));
  check(sd_bus_message_open_container(message, 'a', "{sv}"));
  appendData(message, *event.pstData);
  appendList(
      message, "Arguments", event.pastArguments, event.stArgumentsDimInfo,
      [&](const stDescriptionArgumentType& argument) {
        check(sd_bus_message_append(message, "{sv}{sv}", "Argument", "s", utf8(argument.wsArgument).c_str(),
                                    "Placeholder", "s", utf8(argument.wsPlaceholder).c_str()));
      });
  appendList(message, "UrlArguments", event.pastUrlArguments, event.stUrlArgumentsDimInfo,
             [&](const stDescriptionUrlArgumentType& argument) {
               appendData(message, argument.stData);
               check(sd_bus_message_append(message, "{sv}", "Placeholder", "s",
                                           utf8(argument.wsPlaceholder).c_str()));
             });
  check(sd_bus_message_close_container(message));
  check(sd_bus_message_open_container(message, 'a', "s"));
  for (int i = event.stKeywordsDimInfo.lower; i <= event.stKeywordsDimInfo.upper; ++i) {
    check(sd_bus_message_append(message, "s", event.pasKeywords + std::ptrdiff_t{i} * event.iKeywordSize));
  }
  check(sd_bus_message_close_container(message));
  check(sd_bus_message_append(message, "sss", utf8(event.pwsUser).c_str(), "", "PlcEvents"));
  return message;
}

void PlainSender::send(const logevent_struct& event) {
  sd_bus_message* const message = build(event);
  check(sd_bus_message_set_expect_reply(message, 0));
  check(sd_bus_send(m_bus, message, nullptr));
  check(sd_bus_flush(m_bus));
  sd_bus_message_unref(message);
}

void PlainSender::ask(const logevent_struct& event) {
  call(build(event));
}

void PlainSender::call(sd_bus_message* message) {
  const auto onReply = [](sd_bus_message*, void* outstanding, sd_bus_error*) {
    --*static_cast<int*>(outstanding);
    return 0;
  };
  ++m_outstanding;
  check(sd_bus_call_async(m_bus, nullptr, message, onReply, &m_outstanding, 0));
  sd_bus_message_unref(message);
}

std::string PlainSender::encoded(const logevent_struct& event) {
  const stDataType& data = *event.pstData;
  const auto text = [](const char* utf8) { return QString::fromUtf8(utf8); };
  QStringList keywords;
  for (int i = event.stKeywordsDimInfo.lower; i <= event.stKeywordsDimInfo.upper; ++i) {
    keywords.append(text(event.pasKeywords + std::ptrdiff_t{i} * event.iKeywordSize));
  }
  Tavroline::MessageWriter writer;
  writer.entry({}, event.iState, event.iEventType, now(), text(event.psIconType), text(event.psModuleName),
               {}, QStringLiteral("PlcEvents"), keywords,
               {{QStringLiteral("TextSource"), int{data.iTextSource}},
                {QStringLiteral("ModuleName"), text(data.sModuleName)},
                {QStringLiteral("ObjectName"), text(data.sObjectName)},
                {QStringLiteral("InstanceName"), text(data.sInstanceName)},
                {QStringLiteral("Url"), text(data.sUrl)},
                {QStringLiteral("Arguments"), QVariantList()},
                {QStringLiteral("UrlArguments"), QVariantList()}});
  return std::string(writer.bytes());
}

void PlainSender::askBatch(const std::string& entries) {
  sd_bus_message* message = nullptr;
  check(sd_bus_message_new_method_call(m_bus, &message, m_receiver.c_str(), kEventListPath,
                                       kEventListInterface, "Batch"));
  check(sd_bus_message_append_array(message, 'y', entries.data(), entries.size()));
  call(message);
}

void PlainSender::take(int outstanding) {
  while (m_outstanding >= outstanding) {
    if (check(sd_bus_process(m_bus, nullptr)) == 0) {
      check(sd_bus_wait(m_bus, UINT64_MAX));
    }
  }
}
