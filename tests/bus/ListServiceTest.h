#pragma once

#include <systemd/sd-bus.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <ctime>
#include <filesystem>
#include <sstream>

#include "BusTest.h"
#include "ListMessages.h"

using namespace Tavroline::ListServiceNames;
using Map = QVariantMap;
using List = QVariantList;

inline std::string run(const char* program, const Strings& arguments) {
  ChildProcess child(program, arguments);
  EXPECT_EQ(child.wait(), 0) << child.output();
  return child.output();
}

inline QJsonObject object(const std::string& json) {
  return QJsonDocument::fromJson(QByteArray::fromStdString(json)).object();
}

/** One member of each entry of a list; of an entry without it the description. */
inline std::string cells(const QJsonObject& list, const char* name) {
  QStringList cells;
  for (const QJsonValue value : list.begin()->toArray()) {
    const QString text = value[name].toVariant().toString();
    cells += text.isEmpty() ? value["description"].toString() : text;
  }
  return cells.join(' ').toStdString();
}

/** A connection that calls the service. A call returns its answer in words or the last part of its error. */
class Peer {
 public:
  struct Method {
    const char* name;
    const char* path = kMessagesPath;
    const char* interface = kMessagesInterface;
  };

  Peer() { sd_bus_open_system(&m_bus); }
  ~Peer() { sd_bus_flush_close_unref(m_bus); }
  Peer(const Peer&) = delete;

  std::string name() const {
    const char* name = nullptr;
    sd_bus_get_unique_name(m_bus, &name);
    return name;
  }
  std::string resume(const char* session) { return call({"Resume"}, {}, "ss", session, "tester"); }
  std::string send(const char* session, int first, int floor, const std::string& bytes) {
    return call({"Send"}, bytes, "stt", session, std::uint64_t(first), std::uint64_t(floor));
  }
  /** Resumes a session and sends messages. @return both answers */
  std::string begin(const char* session, int first, const std::string& words) {
    const std::string answer = resume(session);
    return answer + ", " + send(session, first, first - 1, messages(words));
  }
  template <typename... Alarms>
  std::string report(const char* session, Alarms... on) {
    return call({"ReportAlarms"}, {}, "sas", session, int{sizeof...(on)}, on...);
  }
  std::string raise(const char* session, const std::string& words) {
    return call({"RaiseAlarms"}, messages(words), "s", session);
  }
  /** @param bytes the last argument, if not empty */
  template <typename... Values>
  std::string call(const Method& method, const std::string& bytes, const char* types, Values... values) {
    sd_bus_message *request = nullptr, *reply = nullptr;
    sd_bus_message_new_method_call(m_bus, &request, kService, method.path, method.interface, method.name);
    sd_bus_message_append(request, types, values...);
    if (!bytes.empty()) {
      sd_bus_message_append_array(request, 'y', bytes.data(), bytes.size());
    }
    sd_bus_error error = SD_BUS_ERROR_NULL;
    const bool well = sd_bus_call(m_bus, request, 0, &error, &reply) >= 0;
    const std::string fault = error.name != nullptr ? error.name : "";
    std::string answer = well ? wordsOf(reply) : fault.substr(fault.rfind('.') + 1);
    sd_bus_error_free(&error);
    sd_bus_message_unref(request);
    sd_bus_message_unref(reply);
    return answer;
  }
  /** Receives the event list's signals from now on. */
  void follow() {
    sd_bus_match_signal(
        m_bus, nullptr, kService, kEventListPath, kEventListInterface, "Changed",
        [](sd_bus_message*, void*, sd_bus_error*) { return 0; }, nullptr);
  }
  /** Forgets the signals that have come. @return how many had come before the last answer */
  std::uint64_t takeSignals() {
    std::uint64_t count = 0;
    sd_bus_get_n_queued_read(m_bus, &count);
    while (sd_bus_process(m_bus, nullptr) > 0) {
    }
    return count;
  }
  /** Asks for the event list several times at once. */
  void ask(int times) {
    const auto count = [](sd_bus_message* reply, void* peer, sd_bus_error*) {
      ++static_cast<Peer*>(peer)->m_answers[sd_bus_message_is_method_error(reply, nullptr) > 0];
      return 1;
    };
    for (int i = 0; i < times; ++i) {
      sd_bus_call_method_async(m_bus, nullptr, kService, kEventListPath, kEventListInterface, "GetList",
                               count, this, "su", "", 0U);
    }
    sd_bus_flush(m_bus);
  }
  /** How many of these queries were refused. */
  int refused(int asked) {
    while (m_answers[0] + m_answers[1] < asked && sd_bus_process(m_bus, nullptr) >= 0) {
      sd_bus_wait(m_bus, 1000);
    }
    return m_answers[1];
  }

 private:
  static std::string wordsOf(sd_bus_message* reply) {
    std::ostringstream words;
    std::uint64_t number = 0;
    std::uint32_t reason = 0;
    const char* text = nullptr;
    if (sd_bus_message_read(reply, "t", &number) > 0) {
      words << number;
    }
    sd_bus_message_enter_container(reply, 'a', "(tu)");
    while (sd_bus_message_read(reply, "(tu)", &number, &reason) > 0) {
      words << ' ' << number << ':' << reason;
    }
    sd_bus_message_enter_container(reply, 'a', "s");
    while (sd_bus_message_read(reply, "s", &text) > 0) {
      words << text;
    }
    return words.str();
  }

  sd_bus* m_bus = nullptr;
  int m_answers[2] = {};  // lists, errors
};

class ListServiceTest : public BusTest {
 protected:
  static QJsonObject ctl(const Strings& arguments) { return object(run(TAVROLINE_CTL, arguments)); }
  /** The cells of a list, the newest entry first. */
  static std::string column(const char* name, Strings command = {"events"}) {
    command.emplace_back("--json");
    return cells(ctl(command), name);
  }
  static std::string alarms(const char* which) { return column("id", {"alarms", which}); }
  /** Runs SQL on the database file after the service has ended, and starts it again. */
  void sql(const std::string& statements) {
    service.reset();
    run("sqlite3", {database, statements});
    startAgain();
  }
  void startAgain() { startService({"--db", database, "--orphans", "1"}); }
  void end(std::unique_ptr<Peer>& peer) {
    const std::string name = peer->name();
    peer.reset();
    EXPECT_TRUE(bus.waitForName(name, false));
  }

  const std::string database = file("lists.db");
};
