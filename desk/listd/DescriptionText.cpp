#include "DescriptionText.h"

#include <QJsonArray>

#include <algorithm>
#include <utility>
#include <vector>

#include "EventsDBusDefinitions.h"

namespace {

using Keys = EventsDBusDefinitions;

// Text source: the object name is a key of the table below.
constexpr int kSourceTable = 1;

constexpr char kEnglish[] = "en";
constexpr char kGerman[] = "de";

// Member of descriptions that the service itself makes: the description of the acknowledged alarm.
constexpr char kSubject[] = "Subject";

struct TableRow {
  const char* key;
  const char* english;
  const char* german;
};

constexpr TableRow kTable[] = {
    {DescriptionText::kAlarmAcknowledged, "Alarm acknowledged", "Alarm quittiert"},
    {DescriptionText::kDetectorAcknowledged, "Central detector acknowledged", "Sammelmelder quittiert"},
    {"PumpStarted", "Pump started", "Pumpe gestartet"},
    {"PumpStopped", "Pump stopped", "Pumpe gestoppt"},
    {"SetpointChanged", "Setpoint changed", "Sollwert geändert"},
    {"LevelHigh", "Level high", "Pegel hoch"},
    {"DryRun", "Dry run", "Trockenlauf"},
};

QString tableText(const QString& key, const QString& language) {
  const auto* row = std::find_if(std::begin(kTable), std::end(kTable),
                                 [&key](const TableRow& r) { return key == QLatin1String(r.key); });
  if (row == std::end(kTable)) {
    return key;
  }
  return QString::fromUtf8(language == QLatin1String(kGerman) ? row->german : row->english);
}

using Replacements = std::vector<std::pair<QString, QString>>;  // placeholder, text

/** Replaces placeholders in one pass, so that an argument is not searched for placeholders. If several match
 * at one position, the longest one is replaced. Ends once the result has kMaxLength characters. */
QString replaced(const QString& text, Replacements replacements) {
  if (replacements.empty()) {
    return text;
  }
  std::stable_sort(replacements.begin(), replacements.end(),
                   [](const auto& a, const auto& b) { return a.first.size() > b.first.size(); });
  QString result;
  for (int i = 0; i < text.size() && result.size() < DescriptionText::kMaxLength;) {
    const auto found = std::find_if(replacements.begin(), replacements.end(), [&](const auto& r) {
      return QStringView(text).mid(i).startsWith(r.first);
    });
    if (found == replacements.end()) {
      result += text.at(i++);
    } else {
      result += found->second;
      i += found->first.size();
    }
  }
  return result;
}

template <class TextOf>
Replacements replacementsOf(const QJsonValue& list, const TextOf& textOf) {
  Replacements result;
  const QJsonArray elements = list.toArray();
  for (const QJsonValue& element : elements) {
    const QJsonObject object = element.toObject();
    const QString placeholder = object.value(Keys::getEventDBusKeyPlaceholder()).toString();
    if (!placeholder.isEmpty()) {
      result.emplace_back(placeholder, textOf(object));
    }
  }
  return result;
}

QString names(const QJsonObject& description, const QString& language) {
  const QString module = description.value(Keys::getEventDBusKeyModuleName()).toString();
  QString object = description.value(Keys::getEventDBusKeyObjectName()).toString();
  if (description.value(Keys::getEventDBusKeyTextSource()).toInt() == kSourceTable) {
    object = tableText(object, language);
  }
  const QString instance = description.value(Keys::getEventDBusKeyInstanceName()).toString();
  const QString what =
      object + (object.isEmpty() || instance.isEmpty() ? QString() : QStringLiteral(" ")) + instance;
  return module + (module.isEmpty() || what.isEmpty() ? QString() : QStringLiteral(": ")) + what;
}

}  // namespace

QStringList DescriptionText::languages() {
  return {QLatin1String(kEnglish), QLatin1String(kGerman)};
}

QString DescriptionText::text(const QJsonObject& description, const QString& language) {
  const auto argument = [](const QJsonObject& o) {
    return o.value(Keys::getEventDBusKeyArgument()).toString();
  };
  // The description of a URL argument has no arguments; if it has, they are ignored.
  const auto urlArgument = [&language](const QJsonObject& o) { return names(o, language); };

  QString result = replaced(names(description, language),
                            replacementsOf(description.value(Keys::getEventDBusKeyArguments()), argument));
  const QString url = description.value(Keys::getEventDBusKeyUrl()).toString();
  if (!url.isEmpty()) {
    result += result.isEmpty() ? QStringLiteral("<") : QStringLiteral(" <");
    result +=
        replaced(url, replacementsOf(description.value(Keys::getEventDBusKeyUrlArguments()), urlArgument));
    result += QLatin1Char('>');
  }
  const QJsonObject subject = description.value(QLatin1String(kSubject)).toObject();
  if (!subject.isEmpty()) {
    result += QStringLiteral(": ") + text(subject, language);
  }
  return result.left(kMaxLength);
}

QJsonObject DescriptionText::ofTable(const char* key, const QJsonObject& subject) {
  QJsonObject description{{Keys::getEventDBusKeyTextSource(), kSourceTable},
                          {Keys::getEventDBusKeyObjectName(), QLatin1String(key)}};
  if (!subject.isEmpty()) {
    description.insert(QLatin1String(kSubject), subject);
  }
  return description;
}
