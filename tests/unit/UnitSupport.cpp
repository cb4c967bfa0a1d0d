#include "UnitSupport.h"

#include <cstring>
#include <ctime>

#include <sys/syscall.h>
#include <unistd.h>

namespace {

long s_monotonicMilliseconds = 1000000;

template <auto Open, auto Close, auto Load, auto Copy, typename Request, typename Entry>
ReaderKind readerKind(const char* list) {
  return {list,
          [] {
            const auto opened = call<Open>();
            EXPECT_EQ(opened.xSuccess, 1);
            return opened.hReadHandle;
          },
          [](TavrolineHandle handle) {
            EXPECT_EQ(call<Close>(handle).hReadHandle, handle) << "a read close leaves its field";
          },
          [](TavrolineHandle handle) { return int{call<Load>(handle).iResult}; },
          [](TavrolineHandle handle, int capacity) {
            Entry entries[20];
            std::memset(static_cast<void*>(entries), 'Z', sizeof entries);
            Request request{handle, entries, capacity, -1, -1};
            call<Copy>(&request);
            EXPECT_EQ(request.iResult, TAVROLINE_DONE);
            Copied copied{
                request.diNumberOfEntries, {}, {reinterpret_cast<const char*>(entries), sizeof entries}};
            for (int i = 0; i < copied.count; ++i) {
              copied.modules += entries[i].sModuleName;
            }
            return copied;
          }};
}

}  // namespace

const ReaderKind kEventKind =
    readerKind<openeventlistreadhandle_ext, closeeventlistreadhandle_ext, loadcompleteeventlist_ext,
               geteventlistentries_ext, stGetEventlistEntriesType, stEventlistEntryType>("Eventlist");
const ReaderKind kAlarmKind =
    readerKind<openalarmlistreadhandle_ext, closealarmlistreadhandle_ext, loadcompletealarmlist_ext,
               getalarmlistentries_ext, stGetAlarmlistEntriesType, stAlarmlistEntryType>("Alarmlist");

void Reader::load(const QByteArray& entries) const {
  fake::answer(kind.request(), {{0, "{\"ListData\":" + entries + "}"}});
  ASSERT_EQ(load(), TAVROLINE_BUSY);
  ASSERT_EQ(load(), TAVROLINE_DONE);
}

Lines records() {
  Lines lines;
  for (const fake::Call& call : fake::calls("CodesysLog")) {
    const QVariantList& all = call.arguments;
    EXPECT_EQ(all.mid(0, 6), (QVariantList{true, kComponentId, 2, 0, 0, "Tavroline"_q}));
    lines.push_back((all[6].toString() + ": "_q + all[7].toString() + ": "_q +
                     all[9].toStringList().join(QLatin1Char('|')))
                        .toStdString());
  }
  return lines;
}

Lines items() {
  Lines texts;
  for (const std::string& record : records()) {
    texts.push_back(record.substr(record.rfind(": ") + 2));
  }
  return texts;
}

Lines messages() {
  Lines lines;
  for (const fake::Call& call : fake::calls()) {
    if (call.operation != "qWarning" && call.operation != "qDebug") {
      continue;
    }
    const QVariantList& all = call.arguments;
    const QString text = all[2].toString() + ": "_q + all[3].toString() + ": "_q + all[0].toString();
    lines.push_back(call.operation + ": " + text.toStdString());
  }
  return lines;
}

void failNextPlatformCall() {
  fake::atEachCall([](int call) {
    if (call == 1) {
      throw 5;
    }
  });
}

void advanceMonotonicClock(int milliseconds) {
  s_monotonicMilliseconds += milliseconds;
}

extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock,
                                                                    timespec* time) noexcept {
  if (clock != CLOCK_MONOTONIC) {
    return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
  }
  *time = {s_monotonicMilliseconds / 1000, s_monotonicMilliseconds % 1000 * 1000000};
  return 0;
}
