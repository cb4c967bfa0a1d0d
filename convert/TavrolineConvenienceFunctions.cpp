#include "TavrolineConvenienceFunctions.h"

#include <QDebug>
#include <QMessageLogger>

#include <algorithm>
#include <utility>

#include "EventCodes.h"
#include "EventlistHandlerDefinitions.h"
#include "IecMemory.h"
#include "InstanceNameFormat.h"
#include "RuntimeLog.h"

using namespace Tavroline;

namespace {

constexpr char kFile[] = "TavrolineConvenienceFunctions";
constexpr std::int64_t kUsualKeywords = 8;

/** Insert a key that is not there yet, cheapest where it belongs in front of `next`, right in any case. */
void put(QVariantMap& map, QVariantMap::const_iterator next, const QString& key, QVariant value) {
  map.insert(next, key, QVariant()).value().swap(value);
}
void append(QVariantMap& map, const QString& key, QVariant value) {
  put(map, map.constEnd(), key, std::move(value));
}

/** A name of the device's definitions as a plain function, however its getter returns it. */
template <auto Getter>
QString text() {
  return Getter();
}

template <typename Element>
QVariantList convertArray(const Element* elements, const __ARRAY__DIM__INFO& dimension) {
  QVariantList list;
  const std::int64_t count = elementCount(dimension);
  for (std::int64_t k = 0; k < count; ++k) {
    list.append(QVariant(TavrolineConvenienceFunctions::convertStructDescriptionData(elements[k])));
  }
  return list;
}

}  // namespace

void TavrolineConvenienceFunctions::reportNullStruct() {
  RuntimeLog::write(kFile, "static bool TavrolineConvenienceFunctions::checkStructPointer(const void*)",
                    QStringLiteral("codesys struct nullpointer"), 76);
}

void TavrolineConvenienceFunctions::reportNullHandle(const char* function, const char* message) {
  RuntimeLog::write(kFile, function, QLatin1String(message));
}

QStringList TavrolineConvenienceFunctions::getKeywordStringList(const char* keywords, short elementSize,
                                                                const __ARRAY__DIM__INFO& dimension) {
  QStringList list;
  if (!checkStructPointer(keywords) || elementSize <= 0) {
    return list;
  }
  const std::int64_t count = elementCount(dimension);
  list.reserve(static_cast<int>(std::min(count, kUsualKeywords)));
  for (std::int64_t k = 0; k < count; ++k) {
    QString keyword;
    copyCStringDataToQString(keywords + k * elementSize, -1, keyword);
    if (!keyword.isEmpty()) {
      list.append(keyword);
    }
  }
  return list;
}

QVariantMap TavrolineConvenienceFunctions::convertStructDescriptionData(const stDataType& data) {
  // The text source comes first: it may be the subject of a warning.
  const int textSource = static_cast<int>(convertIntToTextSource(data.iTextSource));
  QString instanceName = fieldText(data.sInstanceName);
  if (data.iInstanceNumber != 0) {
    instanceName = formatInstanceName(instanceName, data.iInstanceNumber);
  }
  QVariantMap map;
  append(map, EventsDBusDefinitions::getEventDBusKeyInstanceName(), instanceName);
  append(map, EventsDBusDefinitions::getEventDBusKeyModuleName(), fieldText(data.sModuleName));
  append(map, EventsDBusDefinitions::getEventDBusKeyObjectName(), fieldText(data.sObjectName));
  append(map, EventsDBusDefinitions::getEventDBusKeyTextSource(), textSource);
  append(map, EventsDBusDefinitions::getEventDBusKeyUrl(), fieldText(data.sUrl));
  return map;
}

QVariantMap TavrolineConvenienceFunctions::convertStructDescriptionData(
    const stDescriptionArgumentType& argument) {
  QVariantMap map;
  append(map, EventsDBusDefinitions::getEventDBusKeyArgument(), fieldText(argument.wsArgument));
  append(map, EventsDBusDefinitions::getEventDBusKeyPlaceholder(), fieldText(argument.wsPlaceholder));
  return map;
}

QVariantMap TavrolineConvenienceFunctions::convertStructDescriptionData(
    const stDescriptionUrlArgumentType& urlArgument) {
  QVariantMap map = convertStructDescriptionData(urlArgument.stData);
  map.insert(EventsDBusDefinitions::getEventDBusKeyPlaceholder(), fieldText(urlArgument.wsPlaceholder));
  return map;
}

QVariantMap TavrolineConvenienceFunctions::getDescriptionVariantMap(
    const stDataType* data, const stDescriptionArgumentType* arguments,
    const __ARRAY__DIM__INFO& argumentsDimension, const stDescriptionUrlArgumentType* urlArguments,
    const __ARRAY__DIM__INFO& urlArgumentsDimension) {
  if (!checkStructPointer(data) || !checkStructPointer(arguments) || !checkStructPointer(urlArguments)) {
    return QVariantMap();
  }
  QVariantMap map = convertStructDescriptionData(*data);
  put(map, map.constBegin(), EventsDBusDefinitions::getEventDBusKeyArguments(),
      convertArray(arguments, argumentsDimension));
  append(map, EventsDBusDefinitions::getEventDBusKeyUrlArguments(),
         convertArray(urlArguments, urlArgumentsDimension));
  return map;
}

EventsDBusDefinitions::TextSource TavrolineConvenienceFunctions::convertIntToTextSource(RTS_IEC_INT value) {
  if (value != 0 && value != 1) {
    QMessageLogger(kFile, 268,
                   "static EventsDBusDefinitions::TextSource "
                   "TavrolineConvenienceFunctions::convertIntToTextSource(RTS_IEC_INT)")
            .warning()
        << "Text source unknown:" << value;
    value = 0;
  }
  return static_cast<EventsDBusDefinitions::TextSource>(value);
}

QString TavrolineConvenienceFunctions::getDefaultIconType(EventlistHandlerEnums::EventType type,
                                                          EventlistHandlerEnums::State state) {
  struct Row {
    EventlistHandlerEnums::EventType type;
    EventlistHandlerEnums::State state;
    QString (*icon)();
  };
  using Names = EventlistHandlerDefinitions;
  using namespace EventCodes;
  static constexpr Row kRows[] = {
      {kAlarm, kOn, text<Names::getIconNameAlarmOn>},
      {kAlarm, kOff, text<Names::getIconNameAlarmOff>},
      {kAuditTrail, kNeutral, text<Names::getIconNameAuditTrail>},
      {kFault, kOn, text<Names::getIconNameFaultOn>},
      {kFault, kOff, text<Names::getIconNameFaultOff>},
      {kEvent, kNeutral, text<Names::getIconNameEvent>},
      {kEvent, kOn, text<Names::getIconNameEventOn>},
      {kEvent, kOff, text<Names::getIconNameEventOff>},
  };
  for (const Row& row : kRows) {
    if (row.type == type && row.state == state) {
      return row.icon();
    }
  }
  return QString();
}
