#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "Scheduler.h"
#include "WireMessage.h"

/** What the bus does wrong; a number n disturbs one message in n, 0 none. */
struct BusFaults {
  Nanoseconds delay = 0;     ///< longest time from a connection to the bus, and from the bus to one
  unsigned refused = 0;      ///< calls of the service that get an error
  unsigned unanswered = 0;   ///< calls of the service that get no reply: lost on the way there or back
  unsigned unconfirmed = 0;  ///< replies to writing calls that are lost
  unsigned failed = 0;       ///< replies that become errors
  unsigned mute = 0;         ///< replies to queries that are lost
  unsigned signalsLost = 0;
  bool nameIsTaken = false;      ///< a connection that requests a name gets it from an older one
  std::size_t replyLimit = 128;  ///< outstanding replies of one connection
};

/**
 * The message bus of a run, in memory: what a bus daemon does for connections that call, signal, own a name
 * and subscribe. It keeps the order of messages that the daemon keeps.
 */
class Broker {
 public:
  explicit Broker(std::uint64_t seed);
  ~Broker();
  Broker(const Broker&) = delete;
  Broker& operator=(const Broker&) = delete;

  /** A new connection's end, which the broker closes. @return false if the bus is gone */
  bool accept(int descriptor);
  /** Whether there is a bus; without one all connections end. */
  void setRunning(bool running);
  /** End the connection that owns the name, and lose what is under way from and to it. */
  void cut(const std::string& name);
  /** End all connections but the one that owns the name. What they have sent is still passed on. */
  void cutAllBut(const std::string& name);

  bool isOwned(const std::string& name) const { return m_owners.count(name) > 0; }
  /** The fibre's function: until stop(). */
  void run();
  void stop();

  /** The thread that a hold of the bus stops. */
  static constexpr char kFibre[] = "bus";

  BusFaults faults;
  /** A number that depends on all messages delivered, their bytes and times. */
  std::uint64_t digest() const { return m_digest; }
  /** A text that differs from run to run and is therefore no part of the digest. */
  std::string leftOut;
  std::uint64_t delivered() const { return m_delivered; }
  /** A signal that told the state of flags, and when it was delivered, on the wall clock. */
  struct FlagSignal {
    Nanoseconds time;
    std::string flags;  ///< a digit each
  };
  const std::vector<FlagSignal>& flagSignals() const { return m_flagSignals; }
  /** By method: the most calls within a second. */
  std::map<std::string, std::size_t> busiest() const;

 private:
  using Rule = std::map<std::string, std::string>;
  using Id = std::uint64_t;
  struct Delayed {
    Nanoseconds due;
    std::string bytes;
  };
  struct Connection {
    int descriptor = -1;
    std::string name;
    std::string received;  ///< not yet a whole message
    bool authenticated = false;
    std::deque<Delayed> in, out;
    std::vector<Rule> rules;
    std::map<std::uint32_t, Id> awaited;  ///< serials of calls without a reply, and who is called
    std::uint32_t serial = 0;
  };

  Nanoseconds turn();
  void read(Id id, Connection& connection);
  void authenticate(Connection& connection);
  void write(Connection& connection);
  void hangUp(Id id, Connection& connection);
  void end(Id id);
  void enqueue(std::deque<Delayed>& queue, std::string bytes);

  void route(Id id, WireMessage message);
  void routeCall(Id id, const WireMessage& message);
  void count(const std::string& method);
  void routeReply(const WireMessage& message);
  void broadcast(const WireMessage& message);
  void note(const WireMessage& signal, Nanoseconds due);
  void deliver(Id id, const WireMessage& message);
  void refuse(Id caller, const WireMessage& call, const std::string& error);
  void answerOwn(Id id, const WireMessage& call);
  WireMessage own(WireMessage::Type type) const;
  std::string own(Id id, const WireMessage& call, WireMessage& reply);
  void giveName(const std::string& name, Id id);
  void announce(const std::string& name, const std::string& before, const std::string& after);
  bool matches(const Rule& rule, const WireMessage& signal) const;
  Id find(const std::string& name) const;
  bool strikes(unsigned oneIn) { return oneIn != 0 && m_random() % oneIn == 0; }

  std::map<Id, Connection> m_connections;
  std::map<std::string, Id> m_owners;
  std::set<Id> m_broken;
  Id m_last = 0;
  bool m_running = true;
  bool m_stop = false;
  std::mt19937_64 m_random;
  std::uint64_t m_digest = 14695981039346656037U;
  std::uint64_t m_delivered = 0;
  struct Rate {
    std::deque<Nanoseconds> last;  ///< the calls of the last second
    std::size_t most = 0;
  };
  std::map<std::string, Rate> m_rates;
  std::vector<FlagSignal> m_flagSignals;
};
