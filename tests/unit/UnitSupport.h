#pragma once

#include <gtest/gtest.h>

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <ostream>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "fake_platform.h"
#include "tavroline/tavroline.h"

/** What the unit tests share: fresh scripts per test, short calls, readable failures, one face of both
 * readers. */

using Lines = std::vector<std::string>;

inline QString operator""_q(const char* text, std::size_t size) {
  return QString::fromUtf8(text, static_cast<int>(size));
}
void PrintTo(const QString& text, std::ostream* stream);
void PrintTo(const QVariant& value, std::ostream* stream);

/** A test that starts with an empty log and no scripts. */
struct ComponentTest : testing::Test {
  ComponentTest() { fake::reset(); }
};

/** The monotonic clock, which Qt follows: it stands still in this executable and is moved here. */
void advanceMonotonicClock(int milliseconds);

/** The runtime-log records as "file: function: item|item"; what every record has in common is checked. */
Lines records();

/** The Qt messages as "qWarning: file: function: text"; category and line number are checked to be there. */
Lines messages();

/** Converts to whatever integer a field has. */
struct Integer {
  long long value;
  template <typename Field>
  operator Field() const {  // NOLINT(google-explicit-constructor): it stands for a plain argument
    return static_cast<Field>(value);
  }
};

/** Call an external function with the leading fields of its structure, the rest zero; gives the structure
 * back. */
template <typename Struct>
Struct structureOf(void (*function)(Struct*));
template <typename Value>
auto field(Value value) {
  if constexpr (std::is_integral_v<Value>) {
    return Integer{static_cast<long long>(value)};
  } else {
    return value;
  }
}
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
template <auto Function, typename... Values>
auto call(Values... values) {
  decltype(structureOf(Function)) structure{field(values)...};
  Function(&structure);
  return structure;
}
#pragma GCC diagnostic pop

/** logevent_ext, or logalarm_ext with a handle: a user "u", one keyword "k", one empty argument of each kind.
 */
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

/** One of the two kinds of reader, as PLC code sees it; its names follow from the list's. */
struct ReaderKind {
  std::string list;  ///< "Eventlist" or "Alarmlist"
  TavrolineHandle (*open)();
  void (*close)(TavrolineHandle);
  int (*load)(TavrolineHandle);
  int (*count)(TavrolineHandle, int capacity);  ///< number of entries copied
  std::string className() const { return "Tavroline" + list + "Read"; }
  std::string request() const { return "getComplete" + list; }
  std::string changed() const { return "changedFlag" + list; }
};
extern const ReaderKind kEventKind;
extern const ReaderKind kAlarmKind;

/** A read handle, closed at the end of its scope. */
struct Reader {
  explicit Reader(const ReaderKind& readerKind) : kind(readerKind), handle(kind.open()) {}
  ~Reader() { close(); }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;
  void close();
  int load() const { return kind.load(handle); }
  void load(const QByteArray& entries) const;  ///< these entries, a JSON array
  int count(int capacity = 100) const { return kind.count(handle, capacity); }

  const ReaderKind& kind;
  TavrolineHandle handle;
};

/** A test that runs for both kinds of reader. */
struct ReaderTest : ComponentTest, testing::WithParamInterface<const ReaderKind*> {
  const ReaderKind& kind = *GetParam();
};
