#pragma once

#include <systemd/sd-bus.h>

#include <algorithm>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "BusTest.h"
#include "HubProcess.h"
#include "ListObjects.h"
#include "MessagesObject.h"
#include "Schema.h"

namespace Tavroline {

/** What a list service stores; it survives the service's restart. */
struct Store {
  Store() { Schema::open(database); }

  /** The words of the entries, see SenderTest::submit(). */
  std::string words() {
    return database
        .queryText("SELECT group_concat(icon_type, ' ') FROM (SELECT icon_type FROM events ORDER BY id)")
        .toStdString();
  }
  std::string activeAlarms() {
    return database.queryText("SELECT group_concat(alarm_id, ' ') FROM alarms WHERE active").toStdString();
  }

  Database database{""};
};

/** The list service on the test's thread, in serve(). It makes the faults it is told to. */
class ScriptedService {
 public:
  ScriptedService() { restart(); }

  std::shared_ptr<Store> store = std::make_shared<Store>();  ///< another one is used from restart() on
  std::map<std::string, std::deque<std::string>> faults;     ///< by method: of its next calls, see disturb()
  Strings calls;                                             ///< their methods
  std::string endsAt;                                        ///< a word of a message that ends the service

  /** Ends the service without an answer, and starts it again. */
  void restart() {
    m_running.reset();
    m_running.emplace(store);
    sd_bus* const bus = m_running->bus.get();
    ASSERT_GE(sd_bus_add_filter(bus, nullptr, onMessage, this), 0);
    ASSERT_GE(sd_bus_request_name(bus, ListServiceNames::kService, 0), 0);
  }

  long callsOf(const std::string& method) const { return std::count(calls.begin(), calls.end(), method); }

  /** Answers calls until `done`. @param timeFlies while no call arrives */
  bool serve(const std::function<bool()>& done, bool timeFlies = true) {
    int quiet = 0;
    return eventually(
        [&] {
          const std::size_t before = calls.size();
          while (!m_ends && sd_bus_process(m_running->bus.get(), nullptr) > 0) {
          }
          m_running->lists.endTurn();
          if (m_ends) {
            m_ends = false;
            restart();
          }
          quiet = calls.size() > before ? 0 : quiet + 1;
          s_process.secondsAhead += timeFlies && quiet > 10 ? 1 : 0;
          return done();
        },
        std::chrono::minutes(10));
  }

 private:
  struct Running {
    explicit Running(std::shared_ptr<Store> itsStore)
        : store(std::move(itsStore)),
          service(store->database, {}),
          messages(bus.get(), service, expiry, counters),
          lists(bus.get(), service, counters) {}

    static sd_bus* connected() {
      sd_bus* bus = nullptr;
      sd_bus_open_system(&bus);  // without a bus the objects fail
      return bus;
    }

    const std::shared_ptr<Store> store;
    std::unique_ptr<sd_bus, decltype(&sd_bus_close_unref)> bus{connected(), sd_bus_close_unref};
    ListService service;
    SessionExpiry expiry{service, std::chrono::seconds(0)};
    ClientCounters counters;
    MessagesObject messages;
    ListObjects lists;
  };

  static int onMessage(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
    const bool isCall = sd_bus_message_is_method_call(message, nullptr, nullptr) > 0;
    return isCall && static_cast<ScriptedService*>(self)->disturb(message) ? 1 : 0;
  }

  /** Makes the next fault of this method. @return whether the service must not see the call */
  bool disturb(sd_bus_message* call) {
    const std::string method = sd_bus_message_get_member(call);
    calls.push_back(method);
    auto& queue = faults[method];
    std::string fault = queue.empty() ? "" : queue.front();
    if (!queue.empty()) {
      queue.pop_front();
    }
    if (method == "Send" && !endsAt.empty() && holds(call, endsAt)) {
      fault = "end";
    }
    m_ends = fault == "end" || fault == "late end";
    if (fault == "late end") {
      sd_bus_close(m_running->bus.get());  // the answer is lost
    } else if (fault == "form") {
      sd_bus_reply_method_return(call, "d", 1.0);
    } else if (fault == "numbers") {  // that make no sense
      sd_bus_reply_method_return(call, "ta(tu)", quint64{0}, 2, quint64{0}, 1, ~quint64{0}, 9);
    } else if (fault.find('.') != std::string::npos) {
      sd_bus_reply_method_errorf(call, fault.c_str(), "scripted");
    } else if (method == "GetTimeZone") {
      sd_bus_reply_method_return(call, "i", 12345);
      return true;
    }
    return !fault.empty() && fault != "late end";
  }

  static bool holds(sd_bus_message* send, const std::string& word) {
    const void* bytes = nullptr;
    std::size_t size = 0;
    sd_bus_message_skip(send, "stt");
    sd_bus_message_read_array(send, 'y', &bytes, &size);
    sd_bus_message_rewind(send, 1);
    return std::string_view(static_cast<const char*>(bytes), size).find(word) != std::string_view::npos;
  }

  std::optional<Running> m_running;
  bool m_ends = false;
};

}  // namespace Tavroline
