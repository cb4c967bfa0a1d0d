#pragma once

#include <sstream>
#include <string>

#include "MessageWriter.h"

/** Messages for the list service, and a database of the version before. */

inline constexpr int kNeutral = 0, kOn = 1, kOff = 2;
inline constexpr int kAlarm = 0, kFault = 2, kEvent = 3;

inline std::string entry(const std::string& user, const QVariantMap& description = {},
                         const std::string& alarm = "", int state = kNeutral, int type = kEvent,
                         std::int64_t time = 0) {
  Tavroline::MessageWriter message;
  message.entry(QString::fromStdString(alarm), state, type, time, {}, {}, QString::fromStdString(user), {},
                {QStringLiteral("key")}, description);
  return std::string(message.bytes());
}

/** A message in a word: "+x" and "-x" turn alarm x on and off, "*x" and "/x" fault x, "@x" turns alarm x on
 * by hand, "!x" acknowledges, "!" the detector; "delete" deletes the event list, "bad" is invalid, any other
 * is an event with this user. */
inline std::string message(const std::string& word) {
  Tavroline::MessageWriter message;
  const auto edge = std::string("+-*/").find(word[0]);
  const QString text = QString::fromStdString(word);
  if (edge != std::string::npos) {
    return entry(word, {}, word.substr(1), edge % 2 == 0 ? kOn : kOff, edge < 2 ? kAlarm : kFault);
  }
  if (word == "delete") {
    message.deleteEvents();
  } else if (word[0] == '@') {
    return entry(word, {}, word.substr(1), kOn, kAlarm).replace(4, 1, "\5");
  } else if (word == "!") {
    message.acknowledgeDetector(text);
  } else if (word[0] == '!') {
    message.acknowledgeAlarms(text, {text.mid(1)});
  } else {
    return entry(word, {}, "", kNeutral, kEvent, word == "bad" ? -1 : 0);
  }
  return std::string(message.bytes());
}

inline std::string messages(const std::string& words) {
  std::istringstream stream(words);
  std::string bytes;
  for (std::string word; stream >> word;) {
    bytes += message(word);
  }
  return bytes;
}

/** Holds an event, the alarm x, which is on, and the session s, of which 40 messages are stored. */
inline constexpr char kDatabaseBefore[] = R"(
  CREATE TABLE events (id INTEGER PRIMARY KEY AUTOINCREMENT, event_type, state, icon_type, module_name, time,
    description, keywords, user, alarm_id, object_name);
  CREATE TABLE alarms (alarm_id TEXT PRIMARY KEY, edge, event_type, active, acknowledged, icon_type, module_name,
    time, description, keywords);
  CREATE TABLE sessions (session TEXT PRIMARY KEY, sequence, used) WITHOUT ROWID;
  CREATE TABLE state (event_generation, alarm_generation, detector); INSERT INTO state VALUES (5, 6, 1);
  INSERT INTO events VALUES (7, 3, 0, '', '', 0, '{}', '[]', 'kept', '', ''), (8, 3, 0, '', '', 0, '', '', '', '', '');
  DELETE FROM events WHERE id = 8; INSERT INTO alarms VALUES ('x', 7, 0, 1, 0, '', '', 0, '{}', '[]');
  INSERT INTO sessions VALUES ('s', 40, 1); PRAGMA application_id=1415673458; PRAGMA user_version=1;)";
