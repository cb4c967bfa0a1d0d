// The copy step and its plain form in turns, for a target that has no benchmark library: one JSON line each
// with the nanoseconds of processor time per entry, the median of the turns.

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <vector>

#include "ListCase.h"

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

double median(std::vector<double>& values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

void measure(const char* name, int entries, int secondsApart) {
  EventCase list(entries, secondsApart);
  std::vector<double> plain;
  std::vector<double> subject;
  for (int turn = 0; turn < kTurns; ++turn) {
    plain.push_back(nanosecondsPerEntry([&] { return list.copyPlainly(); }));
    subject.push_back(nanosecondsPerEntry([&] { return list.copy(); }));
  }
  std::printf("{\"name\": \"copyPlainly/%s\", \"value\": %.1f}\n", name, median(plain));
  std::printf("{\"name\": \"copy/%s\", \"value\": %.1f}\n", name, median(subject));
}

}  // namespace

int main() {
  measure("10000", 10000, kMinute);
  measure("year", kHoursOfAYear, kHour);
}
