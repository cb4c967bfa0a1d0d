#include "TavrolineConvenienceFunctions.h"

#include <QDebug>
#include <QMessageLogger>

#include <algorithm>

#include "EventCodes.h"
#include "EventlistHandlerDefinitions.h"
#include "IecMemory.h"
#include "InstanceNameFormat.h"
#include "RuntimeLog.h"

using namespace Tavroline;

namespace {

constexpr char kFile[] = "TavrolineConvenienceFunctions";
/** Reserving space for as many saves 45 of 290 ns with three keywords; the count itself is not trusted. */
constexpr std::int64_t kUsualKeywords = 8;

// Line numbers that the interface prescribes for these messages, independent of the source lines.
constexpr int kNullStructLine = 76;
constexpr int kUnknownTextSourceLine = 268;

/** A name of the device's definitions as a plain function, however its getter returns it. */
template <auto Getter>
QString nameOf() {
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

bool Tavroline::reportNullStruct() noexcept {
  RuntimeLog::write(kFile, "static bool TavrolineConvenienceFunctions::checkStructPointer(const void*)",
                    QStringLiteral("codesys struct nullpointer"), kNullStructLine);
  return false;
}

bool Tavroline::reportNullHandle(TavrolineReadBaseClass** /*target*/) noexcept {
  RuntimeLog::write(
      kFile, "static bool TavrolineConvenienceFunctions::getHandlePointer(TavrolineReadBaseClass**, void*)",
      QStringLiteral("EventlistReadHandle nullpointer"));
  return false;
}

bool Tavroline::reportNullHandle(TavrolineEventlistRead** /*target*/) noexcept {
  RuntimeLog::write(
      kFile, "static bool TavrolineConvenienceFunctions::getHandlePointer(TavrolineEventlistRead**, void*)",
      QStringLiteral("EventlistReadHandle nullpointer"));
  return false;
}

bool Tavroline::reportNullHandle(TavrolineEventlistWrite** /*target*/) noexcept {
  RuntimeLog::write(
      kFile, "static bool TavrolineConvenienceFunctions::getHandlePointer(TavrolineEventlistWrite**, void*)",
      QStringLiteral("EventlistWriteHandle nullpointer"));
  return false;
}

bool Tavroline::reportNullHandle(TavrolineAlarmlistRead** /*target*/) noexcept {
  RuntimeLog::write(
      kFile, "static bool TavrolineConvenienceFunctions::getHandlePointer(TavrolineAlarmlistRead**, void*)",
      QStringLiteral("AlarmlistReadHandle nullpointer"));
  return false;
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
    const QString keyword = boundedText(keywords + k * elementSize, static_cast<std::size_t>(elementSize));
    if (!keyword.isEmpty()) {
      list.append(keyword);
    }
  }
  return list;
}

QVariantMap TavrolineConvenienceFunctions::convertStructDescriptionData(const stDataType& data) {
  QVariantMap map;
  map.insert(EventsDBusDefinitions::getEventDBusKeyTextSource(),
             static_cast<int>(convertIntToTextSource(data.iTextSource)));
  map.insert(EventsDBusDefinitions::getEventDBusKeyModuleName(), fieldText(data.sModuleName));
  map.insert(EventsDBusDefinitions::getEventDBusKeyObjectName(), fieldText(data.sObjectName));
  QString instanceName = fieldText(data.sInstanceName);
  if (data.iInstanceNumber != 0) {
    instanceName = formatInstanceName(instanceName, data.iInstanceNumber);
  }
  map.insert(EventsDBusDefinitions::getEventDBusKeyInstanceName(), instanceName);
  map.insert(EventsDBusDefinitions::getEventDBusKeyUrl(), fieldText(data.sUrl));
  return map;
}

QVariantMap TavrolineConvenienceFunctions::convertStructDescriptionData(
    const stDescriptionArgumentType& argument) {
  QVariantMap map;
  map.insert(EventsDBusDefinitions::getEventDBusKeyArgument(), fieldText(argument.wsArgument));
  map.insert(EventsDBusDefinitions::getEventDBusKeyPlaceholder(), fieldText(argument.wsPlaceholder));
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
  map.insert(EventsDBusDefinitions::getEventDBusKeyArguments(), convertArray(arguments, argumentsDimension));
  map.insert(EventsDBusDefinitions::getEventDBusKeyUrlArguments(),
             convertArray(urlArguments, urlArgumentsDimension));
  return map;
}

EventsDBusDefinitions::TextSource TavrolineConvenienceFunctions::convertIntToTextSource(RTS_IEC_INT value) {
  if (value != 0 && value != 1) {
    QMessageLogger(kFile, kUnknownTextSourceLine,
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
      {kAlarm, kOn, nameOf<Names::getIconNameAlarmOn>},
      {kAlarm, kOff, nameOf<Names::getIconNameAlarmOff>},
      {kAuditTrail, kNeutral, nameOf<Names::getIconNameAuditTrail>},
      {kFault, kOn, nameOf<Names::getIconNameFaultOn>},
      {kFault, kOff, nameOf<Names::getIconNameFaultOff>},
      {kEvent, kNeutral, nameOf<Names::getIconNameEvent>},
      {kEvent, kOn, nameOf<Names::getIconNameEventOn>},
      {kEvent, kOff, nameOf<Names::getIconNameEventOff>},
  };
  for (const Row& row : kRows) {
    if (row.type == type && row.state == state) {
      return row.icon();
    }
  }
  return QString();
}
