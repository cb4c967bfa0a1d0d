#include "FaultPlan.h"

#include <algorithm>
#include <array>
#include <random>

namespace {

struct KindRow {
  const char* name;
  unsigned leastAmount, mostAmount;
  Nanoseconds leastLength, mostLength;
};
constexpr std::array<KindRow, Fault::Kinds> kRows{{
    {"late", 1, 400, kSecond, 20 * kSecond},
    {"signals lost", 1, 3, kSecond, 20 * kSecond},
    {"reply limit", 1, 8, kSecond, 20 * kSecond},
    {"bus stopped", 0, 0, kMillisecond, 8 * kSecond},
    {"bus gone", 0, 0, kMillisecond, 4 * kSecond},
    {"refused", 1, 6, kSecond, 10 * kSecond},
    {"unanswered", 1, 20, kSecond, 35 * kSecond},
    {"unconfirmed", 1, 4, kSecond, 10 * kSecond},
    {"failed answers", 1, 4, kSecond, 10 * kSecond},
    {"mute", 1, 1, kSecond, 40 * kSecond},
    {"service stopped", 0, 0, kMillisecond, 35 * kSecond},
    {"service killed", 0, 0, kMillisecond, 4 * kSecond},
    {"store emptied", 0, 0, kMillisecond, 4 * kSecond},
    {"store older", 0, 0, kMillisecond, 4 * kSecond},
    {"service replaced", 0, 0, kMillisecond, 10 * kSecond},
    {"client cut", 0, 0, 0, 0},
    {"disk full", 0, 0, kMillisecond, 10 * kSecond},
    {"clock step", 1, 3650, 0, 0},
    {"clock back", 1, 3650, 0, 0},
    {"task silent", 0, 31, 5 * kSecond, 30 * kSecond},
    {"no memory", 1, 200, kSecond, kSecond},
    {"unload", 0, 0, 0, 0},
}};

struct Profile {
  const char* name;
  std::vector<Fault::Kind> kinds;
};
const std::vector<Profile>& rows() {
  static const std::vector<Profile> kProfiles{
      {"none", {}},
      {"bus", {Fault::Late, Fault::SignalsLost, Fault::Limit, Fault::BusStopped, Fault::BusGone}},
      {"service", {Fault::Stopped, Fault::Killed, Fault::Replaced, Fault::Late, Fault::BusGone, Fault::Cut}},
      {"answers",
       {Fault::Refused, Fault::Unanswered, Fault::Unconfirmed, Fault::Failed, Fault::Mute, Fault::Killed,
        Fault::Unload}},
      {"store", {Fault::Emptied, Fault::Older, Fault::DiskFull, Fault::Killed, Fault::Unconfirmed}},
      {"plc", {Fault::ClockStep, Fault::ClockBack, Fault::Silent, Fault::Late, Fault::Unload, Fault::Killed}},
      {"memory", {Fault::NoMemory, Fault::NoMemory, Fault::DiskFull, Fault::Killed, Fault::BusGone}},
      {"all", {Fault::Late,     Fault::SignalsLost, Fault::Limit,       Fault::BusStopped, Fault::BusGone,
               Fault::Refused,  Fault::Unanswered,  Fault::Unconfirmed, Fault::Failed,     Fault::Mute,
               Fault::Stopped,  Fault::Killed,      Fault::Emptied,     Fault::Older,      Fault::Replaced,
               Fault::Cut,      Fault::DiskFull,    Fault::ClockStep,   Fault::ClockBack,  Fault::Silent,
               Fault::NoMemory, Fault::Unload}}};
  return kProfiles;
}

}  // namespace

std::string Fault::text() const {
  const auto seconds = [](Nanoseconds time) { return std::to_string(time / kMillisecond) + " ms"; };
  return std::string(kRows.at(kind).name) + " from " + seconds(begin) + " to " + seconds(end) + ", " +
         std::to_string(amount);
}

std::vector<std::string> FaultPlan::profiles() {
  std::vector<std::string> names;
  for (const Profile& profile : rows()) {
    names.emplace_back(profile.name);
  }
  return names;
}

std::vector<Fault> FaultPlan::draw(const std::string& profile, std::uint64_t seed, Nanoseconds length) {
  const auto found = std::find_if(rows().begin(), rows().end(),
                                  [&profile](const Profile& row) { return profile == row.name; });
  std::vector<Fault> faults;
  if (found->kinds.empty()) {
    return faults;
  }
  std::mt19937_64 random(seed);
  const auto between = [&random](auto least, auto most) {
    return least + static_cast<decltype(least)>(random() % static_cast<std::uint64_t>(most - least + 1));
  };
  constexpr Nanoseconds kMeanPause = 4 * kSecond;
  for (Nanoseconds time = 0; (time += between(Nanoseconds{0}, 2 * kMeanPause)) < length;) {
    const Fault::Kind kind = found->kinds[random() % found->kinds.size()];
    const KindRow& row = kRows.at(kind);
    // Mostly short ones; the longest are rare.
    const Nanoseconds longest = between(row.leastLength, row.mostLength);
    const Nanoseconds lasts = between(row.leastLength, longest);
    faults.push_back({kind, time, time + lasts, between(row.leastAmount, row.mostAmount)});
  }
  return faults;
}
