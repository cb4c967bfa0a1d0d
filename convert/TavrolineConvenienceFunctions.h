#pragma once

#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "EventlistHandlerEnums.h"
#include "EventsDBusDefinitions.h"
#include "tavroline/description.h"

class TavrolineAlarmlistRead;
class TavrolineEventlistRead;
class TavrolineEventlistWrite;
class TavrolineReadBaseClass;

namespace Tavroline {

// Write the records of TavrolineConvenienceFunctions about null pointers; false. The tests for null are
// inline, which saves 2 of 8 ns a call.
bool reportNullStruct() noexcept;
bool reportNullHandle(TavrolineReadBaseClass** target) noexcept;
bool reportNullHandle(TavrolineEventlistRead** target) noexcept;
bool reportNullHandle(TavrolineEventlistWrite** target) noexcept;
bool reportNullHandle(TavrolineAlarmlistRead** target) noexcept;

template <typename Object>
bool takeHandle(Object** target, void* handle) {
  if (handle == nullptr) {
    return reportNullHandle(target);
  }
  *target = static_cast<Object*>(handle);
  return true;
}

}  // namespace Tavroline

/**
 * Validation, conversion and mapping between IEC data and the services' data. Holds no data; every operation
 * is static, keeps nothing of its arguments and may run on any thread at the same time. [any-thread]
 */
class TavrolineConvenienceFunctions {
 public:
  TavrolineConvenienceFunctions() = default;
  virtual ~TavrolineConvenienceFunctions() = default;

  /** Whether `pointer` is not null; a null one is written to the runtime log. */
  static bool checkStructPointer(const void* pointer) {
    return pointer != nullptr || Tavroline::reportNullStruct();
  }

  /**
   * Take a handle as a pointer to the object of its kind. Tests for null only: a null handle leaves `target`
   * as it is and is written to the runtime log.
   */
  static bool getHandlePointer(TavrolineReadBaseClass** target, void* handle) {
    return Tavroline::takeHandle(target, handle);
  }
  static bool getHandlePointer(TavrolineEventlistRead** target, void* handle) {
    return Tavroline::takeHandle(target, handle);
  }
  static bool getHandlePointer(TavrolineEventlistWrite** target, void* handle) {
    return Tavroline::takeHandle(target, handle);
  }
  static bool getHandlePointer(TavrolineAlarmlistRead** target, void* handle) {
    return Tavroline::takeHandle(target, handle);
  }

  /**
   * The texts of an IEC ARRAY OF STRING in array order, empty ones left out. Each element is read up to its
   * terminator or its size, whichever comes first.
   * @param keywords first element; null is written to the runtime log and gives an empty list
   * @param elementSize bytes of one element; 0 or less gives an empty list
   */
  static QStringList getKeywordStringList(const char* keywords, short elementSize,
                                          const __ARRAY__DIM__INFO& dimension);

  /** The description map of one structure: five keys, two keys and six keys. */
  static QVariantMap convertStructDescriptionData(const stDataType& data);
  static QVariantMap convertStructDescriptionData(const stDescriptionArgumentType& argument);
  static QVariantMap convertStructDescriptionData(const stDescriptionUrlArgumentType& urlArgument);

  /**
   * The whole description map with its two argument lists, which are there also when empty.
   * @return seven keys; an empty map when one of the three pointers is null, the first of which is logged
   */
  static QVariantMap getDescriptionVariantMap(const stDataType* data,
                                              const stDescriptionArgumentType* arguments,
                                              const __ARRAY__DIM__INFO& argumentsDimension,
                                              const stDescriptionUrlArgumentType* urlArguments,
                                              const __ARRAY__DIM__INFO& urlArgumentsDimension);

  /** 0 and 1 as they are; every other value gives 0 and a Qt warning. */
  static EventsDBusDefinitions::TextSource convertIntToTextSource(RTS_IEC_INT value);

  /** The default icon of an event type and state; empty for a pair without a default icon. */
  static QString getDefaultIconType(EventlistHandlerEnums::EventType type,
                                    EventlistHandlerEnums::State state);
};
