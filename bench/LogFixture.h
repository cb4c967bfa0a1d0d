#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <string>

#include "ListServiceNames.h"
#include "PrivateBus.h"
#include "tavroline/component.h"
#include "tavroline/tavroline.h"

/**
 * @file
 * The entries that the measurements log, the service that stores them, and a sender that sends the same
 * content with sd-bus alone: built from the same structures and written to the socket on the caller's thread.
 */

/** The bus name of a PlainReceiver. */
constexpr char kPlainReceiver[] = "org.tavroline.PlainReceiver";

/** The component's hook of the communication cycle, from its init record as a runtime gets it. */
void (*communicationCycle())();

/** A private bus with the real list service on it. */
class BusAndService {
 public:
  /** @param keepsLists the service has a database lists.db in the bus's folder */
  explicit BusAndService(bool keepsLists = false);
  ~BusAndService();
  BusAndService(const BusAndService&) = delete;
  BusAndService& operator=(const BusAndService&) = delete;

  PrivateBus bus;

  /** Entries that a service has stored since its start. */
  std::uint64_t stored(const char* service = Tavroline::ListServiceNames::kService) const;
  /** Wait until it has stored `count` entries. @throws std::runtime_error after a minute */
  void waitForStored(std::uint64_t count, const char* service = Tavroline::ListServiceNames::kService) const;

 private:
  ChildProcess m_service;
  sd_bus* m_connection = nullptr;  ///< for stored(): a new one for each call would load the bus daemon
};

/** The structures of one entry: three keywords, and with arguments two of them and one with a URL. */
class LogFixture {
 public:
  explicit LogFixture(bool withArguments);
  LogFixture(const LogFixture&) = delete;
  LogFixture& operator=(const LogFixture&) = delete;

  logevent_struct event{};
  logalarm_struct alarm{};  ///< the same content, without a handle

 private:
  stDataType m_data{};
  stDescriptionArgumentType m_arguments[2]{};
  stDescriptionUrlArgumentType m_urlArgument{};
};

/** A connection to PlainReceiver. */
class PlainSender {
 public:
  explicit PlainSender(const char* receiver = kPlainReceiver);
  ~PlainSender();
  PlainSender(const PlainSender&) = delete;
  PlainSender& operator=(const PlainSender&) = delete;

  /** Build and send a message that expects no reply. */
  void send(const logevent_struct& event);
  /** Build and send a call; take() receives its reply. */
  void ask(const logevent_struct& event);
  /** The event as the library encodes it, with the present time. */
  static std::string encoded(const logevent_struct& event);
  /** Send encoded events; take() receives the reply. */
  void askBatch(const std::string& entries);
  /** Receive replies until fewer than `outstanding` calls are unanswered. */
  void take(int outstanding);

 private:
  sd_bus_message* build(const logevent_struct& event);
  void call(sd_bus_message* message);

  sd_bus* m_bus = nullptr;
  std::string m_receiver;
  std::string m_session;
  std::uint64_t m_sequence = 0;
  int m_outstanding = 0;
};
