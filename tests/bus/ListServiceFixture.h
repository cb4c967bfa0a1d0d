#pragma once

#include <gtest/gtest.h>
#include <systemd/sd-bus.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <optional>
#include <string>
#include <vector>

#include "ListServiceNames.h"
#include "PrivateBus.h"

using Strings = std::vector<std::string>;

/** What a test varies in one Log call. */
struct Entry {
  uint64_t sequence = 1;
  std::string user = {};
  int type = 3;
  int state = 0;
  std::string alarmId = {};
  std::string session = "test";
  int64_t time = 1700000000000;
};

/** @param description number of its members, then each as sd_bus_message_append() takes a {sv} */
template <class... Description>
sd_bus_message* newLog(sd_bus* bus, const Entry& e, Description... description) {
  sd_bus_message* message = nullptr;
  sd_bus_message_new_method_call(bus, &message, ListServiceNames::kService, ListServiceNames::kEventListPath,
                                 ListServiceNames::kEventListInterface, "Log");
  sd_bus_message_append(message, "stiissx", e.session.c_str(), e.sequence, e.type, e.state, "", "PLC",
                        e.time);
  sd_bus_message_append(message, "a{sv}", description...);
  sd_bus_message_append(message, "assss", 1, "key", e.user.c_str(), e.alarmId.c_str(), "Test");
  return message;
}

/** A private bus with a service that can be ended and started again; it is read through tavroline-ctl. */
class ListServiceTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_GE(sd_bus_open_system(&m_connection), 0); }
  void TearDown() override { sd_bus_flush_close_unref(m_connection); }

  std::string file(const char* name) const { return m_bus.folder() + "/" + name; }

  /** Start the service; one that runs is killed first. */
  void start(const Strings& arguments = {}) {
    if (m_service) m_service->kill();
    ASSERT_TRUE(m_bus.waitForNameGone(ListServiceNames::kService));
    m_service.emplace(TAVROLINE_LISTD, arguments);
    ASSERT_TRUE(m_bus.waitForName(ListServiceNames::kService)) << m_service->output();
  }

  /** Store one entry. @return the name of the error, empty without one */
  template <class... Description>
  std::string log(const Entry& entry, Description... description) {
    return send(newLog(m_connection, entry, description...));
  }
  std::string log(const Entry& entry) { return log(entry, 0); }

  /** Send, and return the name of the error or the text that the reply holds. */
  std::string send(sd_bus_message* message) {
    sd_bus_error error = SD_BUS_ERROR_NULL;
    sd_bus_message* reply = nullptr;
    const int result = sd_bus_call(m_connection, message, 0, &error, &reply);
    const char* text = "";
    if (result >= 0) sd_bus_message_read(reply, "s", &text);
    std::string answer = result < 0 ? error.name : text;
    sd_bus_error_free(&error);
    sd_bus_message_unref(reply);
    sd_bus_message_unref(message);
    return answer;
  }
  template <class... Arguments>
  QByteArray ask(const char* path, const char* interface, const char* method, Arguments... arguments) {
    sd_bus_message* message = nullptr;
    sd_bus_message_new_method_call(m_connection, &message, ListServiceNames::kService, path, interface,
                                   method);
    sd_bus_message_append(message, arguments...);
    return QByteArray::fromStdString(send(message));
  }

  /** Run tavroline-ctl; what it printed is returned as JSON. */
  QJsonObject ctl(const Strings& arguments) {
    ChildProcess program(TAVROLINE_CTL, arguments);
    EXPECT_EQ(program.wait(), 0) << program.output();
    return QJsonDocument::fromJson(QByteArray::fromStdString(program.output())).object();
  }
  double statistic(const char* name) {
    return ctl({"stats", "--json"}).value(QLatin1String(name)).toDouble(-1);
  }
  /** One column of a list, the newest entry first. */
  Strings column(const char* name, Strings listCommand = {"events"}) {
    listCommand.emplace_back("--json");
    Strings result;
    for (const QJsonValue entry : ctl(listCommand).value(QStringLiteral("ListData")).toArray()) {
      result.push_back(entry.toObject().value(QLatin1String(name)).toVariant().toString().toStdString());
    }
    return result;
  }

  PrivateBus m_bus;
  std::optional<ChildProcess> m_service;
  sd_bus* m_connection = nullptr;
};
