#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <string>

#include "ListServiceNames.h"
#include "PrivateBus.h"
#include "tavroline/tavroline.h"

/**
 * What a PLC program logs in the measurements, and the same content as a plain user of sd-bus sends it from
 * his own thread: built from the same structures and written to the socket in the call, with nothing in
 * between.
 */

/** A private bus with the real list service on it. */
class BusAndService {
 public:
  BusAndService();
  ~BusAndService();
  BusAndService(const BusAndService&) = delete;
  BusAndService& operator=(const BusAndService&) = delete;

  PrivateBus bus;

  /** Entries that a service has stored in its life. */
  std::uint64_t stored(const char* service = Tavroline::ListServiceNames::kService) const;
  /** Wait until it has stored that many. @throws std::runtime_error when it takes too long */
  void waitForStored(std::uint64_t count, const char* service = Tavroline::ListServiceNames::kService) const;

 private:
  ChildProcess m_service;
  sd_bus* m_connection = nullptr;  ///< to ask on; a new one for each question would cost the daemon more
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

/** A connection of its own to the list service or to another receiver of the same call. */
class PlainSender {
 public:
  explicit PlainSender(const char* receiver);
  ~PlainSender();
  PlainSender(const PlainSender&) = delete;
  PlainSender& operator=(const PlainSender&) = delete;

  /** Build and send; nobody waits for the answer. */
  void send(const logevent_struct& event);
  /** The same, with an answer that take() waits for. */
  void ask(const logevent_struct& event);
  /** Take answers until fewer than `outstanding` are owed. */
  void take(int outstanding);

 private:
  sd_bus_message* build(const logevent_struct& event);

  sd_bus* m_bus = nullptr;
  std::string m_receiver;
  std::string m_session;
  std::uint64_t m_sequence = 0;
  int m_outstanding = 0;
};
