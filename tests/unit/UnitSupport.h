#pragma once

#include <gtest/gtest.h>

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <string>
#include <vector>

#include "fake_platform.h"
#include "tavroline/tavroline.h"

/** What unit tests share: fresh scripts per test, short calls, one interface to both readers. */

using Lines = std::vector<std::string>;

inline QString operator""_q(const char* text, std::size_t size) {
  return QString::fromUtf8(text, static_cast<int>(size));
}

constexpr unsigned int kComponentId = 0x1B4EB041;  ///< 0x1B4E3000 and the name's FNV-1a in 16 bit

/** A test that starts with an empty log and no scripts. */
struct ComponentTest : testing::Test {
  ComponentTest() { fake::reset(); }
};

/** The next platform call throws an int. */
void failNextPlatformCall();

/** Moves the monotonic clock, which Qt uses and which does not advance by itself in this executable. */
void advanceMonotonicClock(int milliseconds);

/** The runtime-log records as "file: function: item|item"; what every record has in common is checked. */
Lines records();

/** The messages of these records, without their origin. */
Lines items();

/** The Qt messages as "qWarning: file: function: text". */
Lines messages();

/** Call an external function with the leading fields of its structure, the rest zero; gives it back. */
template <typename Struct>
Struct structureOf(void (*function)(Struct*));
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#pragma GCC diagnostic ignored "-Wnarrowing"  // numbers are written as int
#pragma GCC diagnostic ignored "-Wconversion"
template <auto Function, typename... Values>
auto call(Values... values) {
  decltype(structureOf(Function)) structure{values...};
  Function(&structure);
  return structure;
}
#pragma GCC diagnostic pop

/** logevent_ext, or logalarm_ext with a handle: user "u", keyword "k", one empty argument of each kind. */
template <auto Function, typename... Handle>
void logEntry(int type, int state, const char* icon, const char* module, unsigned int time,
              Handle... handle) {
  static const stDataType data{};
  static const stDescriptionArgumentType argument{};
  static const stDescriptionUrlArgumentType urlArgument{};
  static const RTS_IEC_WSTRING user[] = {'u', 0};
  const __ARRAY__DIM__INFO one{1, 1};
  call<Function>(handle..., type, state, icon, module, time, &data, user, 2, "k", &argument, &urlArgument,
                 one, one, one);
}

/** A copy into an array of 20 entries, which was filled with 'Z'. */
struct Copied {
  int count;
  std::string modules;  ///< the module names of all entries
  std::string bytes;    ///< of the array
};

/** One of the two kinds of reader, as PLC code sees it; its names follow from the list's. */
struct ReaderKind {
  std::string list;  ///< "Eventlist" or "Alarmlist"
  TavrolineHandle (*open)();
  void (*close)(TavrolineHandle);
  int (*load)(TavrolineHandle);
  Copied (*copy)(TavrolineHandle, int capacity);
  std::string className() const { return "Tavroline" + list + "Read"; }
  std::string request() const { return "getComplete" + list; }
  std::string changed() const { return "changedFlag" + list; }
};
extern const ReaderKind kEventKind;
extern const ReaderKind kAlarmKind;

/** A read handle, closed at the end of its scope. */
struct Reader {
  explicit Reader(const ReaderKind& readerKind) : kind(readerKind), handle(kind.open()) {}
  ~Reader() { kind.close(handle); }
  Reader(const Reader&) = delete;
  int load() const { return kind.load(handle); }
  void load(const QByteArray& entries) const;  ///< these entries, a JSON array
  int count(int capacity = 20) const { return kind.copy(handle, capacity).count; }

  const ReaderKind& kind;
  const TavrolineHandle handle;
};

/** A test that runs for both kinds of reader. */
struct ReaderTest : ComponentTest, testing::WithParamInterface<const ReaderKind*> {
  const ReaderKind& kind = *GetParam();
};
