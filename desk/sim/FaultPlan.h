#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Scheduler.h"

/** One fault of a run: what fails, from when to when. */
struct Fault {
  enum Kind : std::size_t {
    Late,         ///< messages take up to `amount` ms on each way
    SignalsLost,  ///< one signal in `amount`
    Limit,        ///< the bus allows `amount` outstanding replies
    BusStopped,
    BusGone,
    Refused,     ///< one call of the service in `amount` gets an error
    Unanswered,  ///< one call in `amount` gets no reply
    Unconfirmed,
    Failed,   ///< one answer of the service in `amount` becomes an error
    Mute,     ///< no query is answered
    Stopped,  ///< the service
    Killed,
    Emptied,   ///< killed, and its store is lost
    Older,     ///< killed, and its store is an older copy
    Replaced,  ///< another service takes the name, with an empty store, and the first ends later
    Cut,       ///< the bus ends the client's connection
    DiskFull,
    ClockStep,  ///< `amount` days forward
    ClockBack,  ///< `amount` days
    Silent,     ///< a task or the hook stops
    NoMemory,   ///< the hub's allocation number `amount` fails
    Unload,     ///< the library, before the end
    Kinds
  };

  Kind kind;
  Nanoseconds begin;
  Nanoseconds end;
  unsigned amount;

  std::string text() const;
};

namespace FaultPlan {

/** The names of the profiles, "none" first. */
std::vector<std::string> profiles();

/** The faults of a run, in the order of their begins. @param length of the run */
std::vector<Fault> draw(const std::string& profile, std::uint64_t seed, Nanoseconds length);

}  // namespace FaultPlan
