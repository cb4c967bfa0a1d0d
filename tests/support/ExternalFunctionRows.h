#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "ExternalFunctionTable.h"
#include "tavroline/conventions.h"

/** The external functions and their structures, for tests that call all of them. */
namespace external {

/** Fields of a structure; each has a word, bounds have eight bytes. Input: the address of a text, structure
 * or array to read; Flag: that of a BOOL to write; Entries: that of an array to fill. */
enum Field { Any, Handle, NewHandle, Input, Flag, Bounds, Entries };

/** Functions whose structures are alike. */
struct Row {
  std::vector<std::string> names;  ///< without "_ext"
  std::string kind;                ///< of the handle, as the log names it
  std::string nullMessage;         ///< on a null handle; empty: it is ignored
  std::vector<Field> fields;       ///< of the structure, or of the request to which its only field points
  std::size_t failureOffset = 0;   ///< where a failure writes these bytes
  std::string failureBytes{};
  bool hasRequest() const { return std::count(fields.begin(), fields.end(), Entries) != 0; }
};

constexpr std::size_t kHandleSize = sizeof(TavrolineHandle);
constexpr std::size_t kRequestResult = 2 * kHandleSize + 4;
constexpr std::size_t kRequestCount = kRequestResult + 4;
inline const std::string kError("\x02\0", 2);
inline const std::string kNoHandle(kHandleSize, '\0');
inline const char kNullEvents[] = "EventlistReadHandle nullpointer";
inline const char kNullAlarms[] = "AlarmlistReadHandle nullpointer";
inline const char kNullStructure[] = "codesys struct nullpointer";

// clang-format off
inline const std::vector<Row> kRows = {
    {{"resetlistchanged", "resetfiltertime", "resetfilterkeyword", "resetfiltereventtype", "resetfilterall", "setfiltertime",
      "haslistchanged", "clearfiltereventtype", "addfiltereventtype"}, "ReadHandle", kNullEvents, {Handle, Any}},
    {{"setlistreadlanguage"}, "ReadHandle", kNullEvents, {Handle, Input}},
    {{"addfilterkeyword", "clearfilterkeyword"}, "ReadHandle", kNullEvents, {Handle, Any, Input}},
    {{"setfilterstatealarm", "setfilterstateacknowledge", "resetfilterstatealarm", "resetfilterstateacknowledge",
      "isfaultinalarmlist", "isalarminalarmlist", "isactivefaultinalarmlist", "isactivealarminalarmlist",
      "getcentraldetectorstate"}, "AlarmlistReadHandle", kNullAlarms, {Handle, Any}},
    {{"loadcompleteeventlist"}, "EventlistReadHandle", kNullEvents, {Handle, Any}, kHandleSize, kError},
    {{"loadpartofeventlist"}, "EventlistReadHandle", kNullEvents, {Handle, Any}, kHandleSize + 2, kError},
    {{"loadcompletealarmlist"}, "AlarmlistReadHandle", kNullAlarms, {Handle, Any}, kHandleSize, kError},
    {{"geteventlistentries"}, "EventlistReadHandle", kNullEvents, {Handle, Entries, Any, Any}, kRequestResult, kError},
    {{"getalarmlistentries"}, "AlarmlistReadHandle", kNullAlarms, {Handle, Entries, Any, Any}, kRequestResult, kError},
    {{"closeeventlistreadhandle"}, "EventlistReadHandle", "", {Handle, Any}},
    {{"closealarmlistreadhandle"}, "AlarmlistReadHandle", "", {Handle, Any}},
    {{"closealarmlistwritehandle"}, "AlarmlistWriteHandle", kNullStructure, {Handle, Any}, 0, kNoHandle},
    {{"getalarmstatefromalarmhandler"}, "AlarmlistWriteHandle", kNullStructure, {Handle, Flag, Flag, Any},
     3 * kHandleSize, kError},
    {{"logalarm"}, "AlarmlistWriteHandle", kNullStructure,
     {Handle, Any, Input, Input, Any, Input, Input, Any, Input, Input, Input, Bounds, Bounds, Bounds}},
    {{"logevent"}, "", "",
     {Any, Input, Input, Any, Input, Input, Any, Input, Input, Input, Bounds, Bounds, Bounds}},
    {{"openeventlistreadhandle", "openalarmlistreadhandle", "openalarmlistwritehandle"}, "", "", {Any, NewHandle},
     kHandleSize, kNoHandle},
    {{"acknowledgevisualalarm"}, "", "", {Any, Input, Input, Bounds}},
    {{"acknowledgecentraldetector"}, "", "", {Input}},
    {{"deleteeventlist"}, "", "", {Any, Any}}};
// clang-format on

/** The row of a function; the last row if no function has this name. */
inline const Row& rowOf(const std::string& function) {
  return *std::find_if(kRows.begin(), kRows.end() - 1, [&](const Row& row) {
    return std::count(row.names.begin(), row.names.end(), function.substr(0, function.rfind('_'))) != 0;
  });
}

/** The functions of the table whose names begin so, in its order. */
inline std::vector<ExternalFunctionEntry> functions(const std::string& begin = std::string()) {
  std::vector<ExternalFunctionEntry> found;
  for (const auto* entry = ExternalFunctionTable; entry->pfFunction != nullptr; ++entry) {
    if (std::string(entry->pszName).find(begin) == 0) {
      found.push_back(*entry);
    }
  }
  return found;
}

/** Calls one of them. */
inline void call(const ExternalFunctionEntry& entry, void* structure) {
  reinterpret_cast<void (*)(void*)>(entry.pfFunction)(structure);
}

}  // namespace external
