#include "Simdjson.h"

#include <simdjson.h>

#include <QString>

#include <algorithm>
#include <string_view>

#include "CodesysStringCopy.h"
#include "EntryTimes.h"

namespace {

using simdjson::ondemand::object;

template <std::size_t Capacity>
void copyText(std::string_view text, RTS_IEC_STRING (&field)[Capacity]) {
  const std::size_t size = std::min(text.size(), Capacity - 1);
  text.copy(field, size);
  field[size] = 0;
}

/** Most texts are ASCII and are copied here; Qt converts the others. */
template <std::size_t Capacity>
void copyText(std::string_view text, RTS_IEC_WSTRING (&field)[Capacity]) {
  if (text.size() < Capacity && std::all_of(text.begin(), text.end(), [](char c) { return c > 0; })) {
    field[std::copy(text.begin(), text.end(), field) - field] = 0;
  } else {
    copyQStringDataToWStringData(QString::fromUtf8(text.data(), static_cast<int>(text.size())), field,
                                 static_cast<short>(Capacity), true);
  }
}

bool hasKeyword(simdjson::ondemand::array keywords) {
  bool included = false;
  for (std::string_view keyword : keywords) {
    if (keyword == "test") {
      return false;
    }
    included = included || keyword == "pump";
  }
  return included;
}

}  // namespace

int simdjsonToStructures(const QByteArray& json, stEventlistEntryType* entries, int capacity) {
  static simdjson::ondemand::parser parser;
  const simdjson::padded_string padded(json.constData(), static_cast<std::size_t>(json.size()));
  Tavroline::ZoneOffsets offsets;
  int count = 0;
  auto document = parser.iterate(padded);
  for (object entry : document["ListData"].get_array()) {
    if (count == capacity) {
      break;
    }
    stEventlistEntryType& target = entries[count];
    target.uliEventlistId = std::uint64_t(entry["EventlistId"]) & 0xFFFFU;
    copyText(entry["User"], target.wsUser);
    target.iEventType = static_cast<RTS_IEC_INT>(std::int64_t(entry["EventType"]));
    copyText(entry["IconType"], target.sIconType);
    const std::string_view time = entry["LocalTime"];
    const auto local = Tavroline::localTime(QString::fromLatin1(time.data(), static_cast<int>(time.size())));
    const std::int64_t seconds = local ? local->seconds : 0;
    target.dtTimestamp = static_cast<RTS_IEC_DATE_AND_TIME>(seconds - offsets.at(seconds).value_or(0));
    copyText(entry["ModuleName"], target.sModuleName);
    copyText(entry["Description"], target.wsDescription);
    if (target.iEventType == TAVROLINE_FAULT && hasKeyword(entry["Keywords"])) {
      ++count;
    }
  }
  return count;
}
