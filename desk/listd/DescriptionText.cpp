#include "DescriptionText.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "EventsDBusDefinitions.h"
#include "JsonReader.h"
#include "MessageReader.h"

namespace {

using Keys = EventsDBusDefinitions;

// Text source: the object name is a key of the table below.
constexpr int kSourceTable = 1;

constexpr char kEnglish[] = "en";
constexpr char kGerman[] = "de";

// Member of descriptions that the service itself makes: the description of the acknowledged alarm.
constexpr char kSubject[] = "Subject";

// Bytes after which no more is replaced: arguments can be much longer than their placeholders.
constexpr std::size_t kMaxLength = 16384;

constexpr std::size_t kUsualArguments = 4;

struct TableRow {
  const char* key;
  const char* english;
  const char* german;
};

constexpr TableRow kTable[] = {
    {DescriptionText::kAlarmAcknowledged, "Alarm acknowledged", "Alarm quittiert"},
    {DescriptionText::kDetectorAcknowledged, "Central detector acknowledged", "Sammelmelder quittiert"},
    {DescriptionText::kAlarmNotReported, "Off, no longer reported by its program",
     "Aus, vom Programm nicht mehr gemeldet"},
    {DescriptionText::kProgramEnded, "Off, its program has ended", "Aus, das Programm ist beendet"},
    {DescriptionText::kEventLogged, "Event logged by hand", "Ereignis von Hand eingetragen"},
    {DescriptionText::kAlarmRaised, "Alarm raised by hand", "Alarm von Hand ausgelöst"},
    {DescriptionText::kAlarmCleared, "Alarm cleared by hand", "Alarm von Hand zurückgesetzt"},
    {DescriptionText::kEventsDeleted, "Event list deleted", "Ereignisliste gelöscht"},
    {"PumpStarted", "Pump started", "Pumpe gestartet"},
    {"PumpStopped", "Pump stopped", "Pumpe gestoppt"},
    {"SetpointChanged", "Setpoint changed", "Sollwert geändert"},
    {"LevelHigh", "Level high", "Pegel hoch"},
    {"DryRun", "Dry run", "Trockenlauf"},
};

std::string tableText(const std::string& key, bool german) {
  const auto* row =
      std::find_if(std::begin(kTable), std::end(kTable), [&key](const TableRow& r) { return key == r.key; });
  return row == std::end(kTable) ? key : german ? row->german : row->english;
}

/** The members of a description, or of the description of an argument. */
struct Description {
  enum Member {
    Module,
    Object,
    Instance,
    Url,
    Argument,
    Placeholder,
    Source,
    Arguments,
    UrlArguments,
    Subject
  };

  std::string texts[Source];  ///< by Member
  int source = 0;
  std::vector<Description> arguments;
  std::vector<Description> urlArguments;
  std::vector<Description> subject;  ///< one or none
};

Description::Member memberOf(const std::string& name) {
  static const std::string kNames[] = {
      Keys::getEventDBusKeyModuleName().toStdString(),   Keys::getEventDBusKeyObjectName().toStdString(),
      Keys::getEventDBusKeyInstanceName().toStdString(), Keys::getEventDBusKeyUrl().toStdString(),
      Keys::getEventDBusKeyArgument().toStdString(),     Keys::getEventDBusKeyPlaceholder().toStdString(),
      Keys::getEventDBusKeyTextSource().toStdString(),   Keys::getEventDBusKeyArguments().toStdString(),
      Keys::getEventDBusKeyUrlArguments().toStdString(), kSubject};
  return static_cast<Description::Member>(std::find(std::begin(kNames), std::end(kNames), name) - kNames);
}

void read(JsonReader& json, Description& description) {
  const auto append = [&json](std::vector<Description>& list) {
    list.reserve(kUsualArguments);
    read(json, list.emplace_back());
  };
  json.object([&](const std::string& name) {
    const Description::Member member = memberOf(name);
    switch (member) {
      case Description::Source:
        description.source = json.integer();
        return;
      case Description::Arguments:
        return json.array([&] { append(description.arguments); });
      case Description::UrlArguments:
        return json.array([&] { append(description.urlArguments); });
      case Description::Subject:
        return append(description.subject);
      default:
        return member < Description::Source ? json.string(description.texts[member]) : json.skip();
    }
  });
}

using Replacements = std::vector<std::pair<std::string, std::string>>;  // placeholder, text

/** Replaces placeholders in one pass, so that an argument is not searched for placeholders. If several match
 * at one position, the longest one is replaced. */
std::string replaced(const std::string& text, Replacements replacements) {
  if (replacements.empty()) {
    return text;
  }
  std::stable_sort(replacements.begin(), replacements.end(),
                   [](const auto& a, const auto& b) { return a.first.size() > b.first.size(); });
  std::string result;
  for (std::size_t i = 0; i < text.size() && result.size() < kMaxLength;) {
    const auto found = std::find_if(replacements.begin(), replacements.end(), [&](const auto& r) {
      return text.compare(i, r.first.size(), r.first) == 0;
    });
    if (found == replacements.end()) {
      result += text[i++];
    } else {
      result += found->second;
      i += found->first.size();
    }
  }
  return result;
}

template <class TextOf>
Replacements replacementsOf(const std::vector<Description>& arguments, const TextOf& textOf) {
  Replacements result;
  for (const Description& argument : arguments) {
    if (!argument.texts[Description::Placeholder].empty()) {
      result.emplace_back(argument.texts[Description::Placeholder], textOf(argument));
    }
  }
  return result;
}

std::string join(const std::string& one, const char* between, const std::string& other) {
  return one + (one.empty() || other.empty() ? "" : between) + other;
}

std::string names(const Description& d, bool german) {
  const std::string& object = d.texts[Description::Object];
  return join(d.texts[Description::Module], ": ",
              join(d.source == kSourceTable ? tableText(object, german) : object, " ",
                   d.texts[Description::Instance]));
}

std::string textOf(const Description& d, bool german) {
  const auto argument = [](const Description& a) { return a.texts[Description::Argument]; };
  // The description of a URL argument has no arguments; if it has, they are ignored.
  const auto urlArgument = [german](const Description& a) { return names(a, german); };
  std::string text = replaced(names(d, german), replacementsOf(d.arguments, argument));
  const std::string& url = d.texts[Description::Url];
  if (!url.empty()) {
    text = join(text, " ", '<' + replaced(url, replacementsOf(d.urlArguments, urlArgument)) + '>');
  }
  return d.subject.empty() ? text : join(text, ": ", textOf(d.subject.front(), german));
}

}  // namespace

QByteArrayList DescriptionText::languages() {
  return {kEnglish, kGerman};
}

bool DescriptionText::make(std::string_view description, const QByteArray& language, std::string& text) {
  JsonReader json(description);
  Description members;
  read(json, members);
  text = textOf(members, language == kGerman);
  if (text.size() > MessageReader::kMaxText) {
    text = MessageReader::fitText(text).toStdString();
  }
  return !description.empty() && description.front() == '{' && json.isComplete();
}

QByteArray DescriptionText::ofTable(const char* key, const QByteArray& subject) {
  QByteArray description = "{\"" + Keys::getEventDBusKeyTextSource().toUtf8() +
                           "\":" + QByteArray::number(kSourceTable) + ",\"" +
                           Keys::getEventDBusKeyObjectName().toUtf8() + "\":\"" + key + '"';
  if (!subject.isEmpty()) {
    description += ",\"" + QByteArray(kSubject) + "\":" + subject;
  }
  return description + '}';
}
