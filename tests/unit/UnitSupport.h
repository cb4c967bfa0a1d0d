#pragma once

#include <gtest/gtest.h>

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <ostream>
#include <string>
#include <vector>

#include "fake_platform.h"
#include "tavroline/tavroline.h"

/** What the unit tests share: fresh scripts per test, readable failures, and both kinds of reader behind one
 * face. */

inline QString operator""_q(const char* text, std::size_t size) {
  return QString::fromUtf8(text, static_cast<int>(size));
}
void PrintTo(const QString& text, std::ostream* stream);
void PrintTo(const QVariant& value, std::ostream* stream);

/** A test that starts with an empty log and no scripts. */
class ComponentTest : public testing::Test {
 protected:
  ComponentTest() { fake::reset(); }
};

/** The runtime-log records as "file: function: item|item"; what every record has in common is checked on the
 * way. */
std::vector<std::string> records();

/** The Qt messages as "qWarning: file: function: text"; category and line number are checked to be there. */
std::vector<std::string> messages();

/** Copy a text with its terminator into a field or an array element. */
void put(char* target, const char* text);
void put(unsigned short* target, const char16_t* text);

/** One of the two kinds of reader, as PLC code sees it. */
struct ReaderKind {
  const char* list;     ///< "Eventlist" or "Alarmlist", as in messages and names
  std::string request;  ///< the client's operation that asks for the whole list
  std::string changed;  ///< and the one that tells of its changes
  TavrolineHandle (*open)();
  void (*close)(TavrolineHandle);
  int (*load)(TavrolineHandle);
  int (*copy)(TavrolineHandle, int capacity, int* count);  ///< into an array of its own; capacity 100 at most
  std::string className() const { return std::string("Tavroline") + list + "Read"; }
};
extern const ReaderKind kEventKind;
extern const ReaderKind kAlarmKind;
void PrintTo(const ReaderKind* kind, std::ostream* stream);

/** A read handle, closed at the end of its scope. */
class Reader {
 public:
  explicit Reader(const ReaderKind& kind) : m_kind(kind), m_handle(kind.open()) {}
  ~Reader() { close(); }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  void close();
  int load() { return m_kind.load(m_handle); }
  /** Load these entries, a JSON array. */
  void load(const QByteArray& entries);
  /** Number of entries copied; -1 when the result is not 0. */
  int count(int capacity = 100);
  TavrolineHandle handle() { return m_handle; }

 private:
  const ReaderKind& m_kind;
  TavrolineHandle m_handle;
};

/** An alarm handle, closed at the end of its scope. */
struct OpenAlarmHandle : openalarmlistwritehandle_struct {
  OpenAlarmHandle() : openalarmlistwritehandle_struct{} { openalarmlistwritehandle_ext(this); }
  ~OpenAlarmHandle() { close(); }
  OpenAlarmHandle(const OpenAlarmHandle&) = delete;
  OpenAlarmHandle& operator=(const OpenAlarmHandle&) = delete;
  void close() {
    closealarmlistwritehandle_struct parameters{hWriteHandle};
    if (hWriteHandle != nullptr) closealarmlistwritehandle_ext(&parameters);
    hWriteHandle = parameters.hWriteHandle;
  }
};

/** A test that runs for both kinds, through INSTANTIATE_FOR_BOTH_KINDS. */
class ReaderTest : public ComponentTest, public testing::WithParamInterface<const ReaderKind*> {
 protected:
  const ReaderKind& kind() { return *GetParam(); }
};
#define INSTANTIATE_FOR_BOTH_KINDS(suite)                                        \
  INSTANTIATE_TEST_SUITE_P(Of, suite, testing::Values(&kEventKind, &kAlarmKind), \
                           [](const auto& kind) { return std::string(kind.param->list); })
