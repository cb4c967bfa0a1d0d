#include "UnitSupport.h"

#include <QByteArrayList>
#include <QFile>
#include <QRegExp>

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

/** Expects the line to be in the source of that name, in a function that names the one of the signature. */
void expectPlace(const QString& file, const QString& signature, int line) {
  QByteArray source;
  for (const char* folder : {"component", "convert", "read", "write"}) {
    QFile found(QStringLiteral(TAVROLINE_SOURCES "/%1/%2.cpp").arg(QLatin1String(folder), file));
    source += found.open(QIODevice::ReadOnly) ? found.readAll() : QByteArray();
  }
  const QByteArrayList lines = source.split('\n');
  const QByteArrayList function = lines.mid(lines.lastIndexOf("}", line - 2) + 1);
  const QString name = signature.section(QLatin1Char('('), 0, 0).section(QRegExp("[ :]"_q), -1);
  EXPECT_TRUE(line < lines.size() && function.mid(0, function.indexOf("}")).join().contains(name.toUtf8()))
      << file.toStdString() << ":" << line << ": " << signature.toStdString();
}

Lines records() {
  Lines lines;
  for (const fake::Call& call : fake::calls("CodesysLog")) {
    const QVariantList& all = call.arguments;
    EXPECT_EQ(all.mid(0, 6), (QVariantList{true, kComponentId, 2, 0, 0, "Tavroline"_q}));
    if (!all[7].toString().contains("checkStructPointer"_q)) {  // the interface prescribes its line
      expectPlace(all[6].toString(), all[7].toString(), all[8].toString().toInt());
    }
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
