#include "UnitSupport.h"

#include <QDebug>
#include <QStringList>

#include <algorithm>
#include <array>
#include <cstring>

#include "StringHash.h"

void PrintTo(const QString& text, std::ostream* stream) {
  *stream << '"' << text.toStdString() << '"';
}

void PrintTo(const QVariant& value, std::ostream* stream) {
  QString text;
  QDebug(&text) << value;
  *stream << text.toStdString();
}

std::vector<std::string> records() {
  const QVariantList common{
      true, (hashFromString(QStringLiteral("Tavroline")) & 0xFFFFU) | 0x1B4E3000U, 2, 0, 0, "Tavroline"_q};
  std::vector<std::string> texts;
  for (const fake::Call& call : fake::calls("CodesysLog")) {
    EXPECT_EQ(call.arguments.mid(0, common.size()), common);
    EXPECT_GT(call.arguments[8].toInt(), 0) << "line as decimal text";
    const QString items = call.arguments[9].toStringList().join(QLatin1Char('|'));
    texts.push_back((call.arguments[6].toString() + ": "_q + call.arguments[7].toString() + ": "_q + items)
                        .toStdString());
  }
  return texts;
}

std::vector<std::string> messages() {
  std::vector<std::string> texts;
  for (const fake::Call& call : fake::calls()) {
    if (call.operation != "qWarning" && call.operation != "qDebug") continue;
    EXPECT_EQ(call.arguments[1].toString(), "default"_q);
    EXPECT_GT(call.arguments[4].toInt(), 0) << "line";
    texts.push_back(call.operation + ": " +
                    (call.arguments[2].toString() + ": "_q + call.arguments[3].toString() + ": "_q +
                     call.arguments[0].toString())
                        .toStdString());
  }
  return texts;
}

void put(char* target, const char* text) {
  std::strcpy(target, text);
}

void put(unsigned short* target, const char16_t* text) {
  std::copy_n(text, std::char_traits<char16_t>::length(text) + 1, target);
}

namespace {

// The functions of both kinds differ in names only.
template <typename Struct, void (*Function)(Struct*)>
TavrolineHandle openReader() {
  Struct parameters{};
  Function(&parameters);
  EXPECT_EQ(parameters.xSuccess, 1);
  return parameters.hReadHandle;
}

template <typename Struct, void (*Function)(Struct*)>
void closeReader(TavrolineHandle handle) {
  Struct parameters{handle};
  Function(&parameters);
  EXPECT_EQ(parameters.hReadHandle, handle) << "a read close leaves its field";
}

template <typename Struct, void (*Function)(Struct*)>
int loadReader(TavrolineHandle handle) {
  Struct parameters{};
  parameters.hReadHandle = handle;
  Function(&parameters);
  return parameters.iResult;
}

template <typename Struct, typename Request, typename Entry, void (*Function)(Struct*)>
int copyEntries(TavrolineHandle handle, int capacity, int* count) {
  std::array<Entry, 100> entries{};
  Request request{handle, entries.data(), capacity, -1, -1};
  Struct parameters{&request};
  Function(&parameters);
  *count = request.diNumberOfEntries;
  return request.iResult;
}

}  // namespace

const ReaderKind kEventKind = {"Eventlist",
                               "getCompleteEventlist",
                               "changedFlagEventlist",
                               openReader<openeventlistreadhandle_struct, openeventlistreadhandle_ext>,
                               closeReader<closeeventlistreadhandle_struct, closeeventlistreadhandle_ext>,
                               loadReader<loadcompleteeventlist_struct, loadcompleteeventlist_ext>,
                               copyEntries<geteventlistentries_struct, stGetEventlistEntriesType,
                                           stEventlistEntryType, geteventlistentries_ext>};

const ReaderKind kAlarmKind = {"Alarmlist",
                               "getCompleteAlarmlist",
                               "changedFlagAlarmlist",
                               openReader<openalarmlistreadhandle_struct, openalarmlistreadhandle_ext>,
                               closeReader<closealarmlistreadhandle_struct, closealarmlistreadhandle_ext>,
                               loadReader<loadcompletealarmlist_struct, loadcompletealarmlist_ext>,
                               copyEntries<getalarmlistentries_struct, stGetAlarmlistEntriesType,
                                           stAlarmlistEntryType, getalarmlistentries_ext>};

void PrintTo(const ReaderKind* kind, std::ostream* stream) {
  *stream << kind->list;
}

void Reader::close() {
  m_kind.close(m_handle);
  m_handle = nullptr;
}

void Reader::load(const QByteArray& entries) {
  fake::answer(m_kind.request, {{0, "{\"ListData\":" + entries + "}"}});
  ASSERT_EQ(load(), TAVROLINE_BUSY);
  ASSERT_EQ(load(), TAVROLINE_DONE);
}

int Reader::count(int capacity) {
  int count = -1;
  return m_kind.copy(m_handle, capacity, &count) == TAVROLINE_DONE ? count : -1;
}
