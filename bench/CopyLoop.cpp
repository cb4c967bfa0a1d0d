// Measures the copy step and its reference in turns, for a target that has no benchmark library. Prints one
// JSON line each with the nanoseconds of processor time per entry. The fastest turn counts, since other load
// on the machine only adds to processor time.

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <limits>

#include "ListFixture.h"

namespace {

constexpr int kTurns = 3;

template <typename Copy>
double nanosecondsPerEntry(Copy copy) {
  timespec before{};
  timespec after{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &before);
  const int entries = copy();
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &after);
  constexpr double kNanoseconds = 1e9;
  return (double(after.tv_sec - before.tv_sec) * kNanoseconds + double(after.tv_nsec - before.tv_nsec)) /
         entries;
}

void measure(const char* name, int entries, const ListTimes& times) {
  EventFixture list(entries, times);
  double reference = std::numeric_limits<double>::max();
  double subject = reference;
  for (int turn = 0; turn < kTurns; ++turn) {
    reference = std::min(reference, nanosecondsPerEntry([&] { return list.copyReference(); }));
    subject = std::min(subject, nanosecondsPerEntry([&] { return list.copy(); }));
  }
  std::printf("{\"name\": \"copyReference/%s\", \"value\": %.1f}\n", name, reference);
  std::printf("{\"name\": \"copy/%s\", \"value\": %.1f}\n", name, subject);
}

}  // namespace

int main() {
  measure("10000", 10000, kEveryMinute);
  measure("year", kHoursOfAYear, kEveryHour);
}
