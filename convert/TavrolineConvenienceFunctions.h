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

// Each logs a null pointer for TavrolineConvenienceFunctions and returns false. The tests for null are
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

  /** @return whether `pointer` is not null. Logs a null pointer. */
  static bool checkStructPointer(const void* pointer) {
    return pointer != nullptr || Tavroline::reportNullStruct();
  }

  /**
   * Converts a handle to a pointer to the object of its kind. Tests for null only: logs a null handle and
   * leaves `target` unchanged.
   * @return whether `handle` is not null
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
   * @param keywords first element; null is logged and gives an empty list
   * @param elementSize bytes of one element; 0 or less gives an empty list
   */
  static QStringList getKeywordStringList(const char* keywords, short elementSize,
                                          const __ARRAY__DIM__INFO& dimension);

  /** The description map of one structure: five keys, two keys and six keys. */
  static QVariantMap convertStructDescriptionData(const stDataType& data);
  static QVariantMap convertStructDescriptionData(const stDescriptionArgumentType& argument);
  static QVariantMap convertStructDescriptionData(const stDescriptionUrlArgumentType& urlArgument);

  /**
   * The whole description map with its two argument lists, which the map contains even if they are empty.
   * @return seven keys; an empty map if one of the three pointers is null, the first of which is logged
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
