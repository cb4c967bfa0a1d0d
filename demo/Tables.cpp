#include "Tables.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <string>

#include "IecText.h"

namespace {

using Row = std::vector<std::string>;

/** Characters, not bytes: continuation bytes of UTF-8 do not count. */
std::size_t width(const std::string& text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

/** The first row holds the headings. */
void printTable(const char* title, const std::vector<Row>& rows) {
  std::vector<std::size_t> widths(rows.front().size());
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], width(row[i]));
    }
  }
  std::printf("\n%s\n", title);
  for (const Row& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      line += "  " + row[i] + std::string(widths[i] - width(row[i]), ' ');
    }
    line.erase(line.find_last_not_of(' ') + 1);
    std::printf("%s\n", line.c_str());
  }
  if (rows.size() == 1) {
    std::printf("  (none)\n");
  }
  std::fflush(stdout);
}

std::string timeText(RTS_IEC_DATE_AND_TIME utc) {
  const auto time = static_cast<std::time_t>(utc);
  std::tm parts{};
  gmtime_r(&time, &parts);
  char text[32];
  std::strftime(text, sizeof text, "%F %T", &parts);
  return text;
}

const char* typeText(RTS_IEC_INT type) {
  switch (type) {
    case TAVROLINE_ALARM:
      return "alarm";
    case TAVROLINE_AUDIT_TRAIL:
      return "audit";
    case TAVROLINE_FAULT:
      return "fault";
    case TAVROLINE_EVENT:
      return "event";
    default:
      return "?";
  }
}

const char* yesNo(bool value) {
  return value ? "yes" : "no";
}

std::string stateText(const stAlarmlistEntryType& entry) {
  return std::string(entry.xAlarmActive != 0 ? "on" : "off") +
         (entry.xAlarmAcknowledgment != 0 ? ", ack" : "");
}

/** The beginning of an alarm identifier is enough to tell the few alarms of a table apart. */
std::string shortId(const stAlarmlistEntryType& entry) {
  constexpr std::size_t kLength = 9;
  return std::string(entry.sAlarmID).substr(0, kLength);
}

}  // namespace

void Tables::print(const char* title, const std::vector<stEventlistEntryType>& entries) {
  // Icon and module are left out, so that the lines keep to 100 characters.
  std::vector<Row> rows{{"id", "type", "time (UTC)", "description", "user"}};
  for (const stEventlistEntryType& entry : entries) {
    rows.push_back({std::to_string(entry.uliEventlistId), typeText(entry.iEventType),
                    timeText(entry.dtTimestamp), IecText::narrow(entry.wsDescription),
                    IecText::narrow(entry.wsUser)});
  }
  printTable(title, rows);
}

void Tables::print(const char* title, const std::vector<stAlarmlistEntryType>& entries) {
  std::vector<Row> rows{{"state", "type", "time (UTC)", "icon", "module", "description", "alarm id"}};
  for (const stAlarmlistEntryType& entry : entries) {
    rows.push_back({stateText(entry), typeText(entry.iEventType), timeText(entry.dtTimestamp),
                    entry.sIconType, entry.sModuleName, IecText::narrow(entry.wsDescription),
                    shortId(entry)});
  }
  printTable(title, rows);
}

void Tables::print(const char* title, const AlarmReader::Summary& summary) {
  printTable(title, {{"alarm", "active alarm", "fault", "active fault", "central detector"},
                     {yesNo(summary.alarm), yesNo(summary.activeAlarm), yesNo(summary.fault),
                      yesNo(summary.activeFault), yesNo(summary.detector)}});
}
