// The text and time helpers as the component calls them: each call goes into the log and to the real helper.
// The linker directs the calls here (--wrap with the names listed in CMakeLists.txt).

#include <QDateTime>

#include "fake_platform.h"

#define RECORDED(result, name, symbol, parameters, arguments, object, ...) \
  result real_##name parameters asm("__real_" symbol);                     \
  result recorded_##name parameters asm("__wrap_" symbol);                 \
  result recorded_##name parameters {                                      \
    fake::record(#name, __VA_ARGS__, object);                              \
    return real_##name arguments;                                          \
  }

// Result, name, symbol; parameters, arguments; object and arguments in the log.
RECORDED(void, copyCStringDataToQString, "_Z24copyCStringDataToQStringPKciR7QString",
         (const char* source, int length, QString& target), (source, length, target), source,
         {QString::fromUtf8(source), length})
RECORDED(void, copyWStringDataToQString, "_Z24copyWStringDataToQStringPKtiR7QString",
         (const ushort* source, int length, QString& target), (source, length, target), source,
         {QString::fromUtf16(source), length})
RECORDED(bool, copyQStringDataToCStringData, "_Z28copyQStringDataToCStringDataRK7QStringPcsb",
         (const QString& source, char* target, short capacity, bool freeText),
         (source, target, capacity, freeText), target, {source, capacity, freeText})
RECORDED(bool, copyQStringDataToWStringData, "_Z28copyQStringDataToWStringDataRK7QStringPtsb",
         (const QString& source, ushort* target, short capacity, bool freeText),
         (source, target, capacity, freeText), target, {source, capacity, freeText})
RECORDED(QDateTime, IECUtcDateTimeToQDateTime, "_ZN21CodesysTimeConversion25IECUtcDateTimeToQDateTimeEj",
         (unsigned int value), (value), nullptr, {value})
RECORDED(QDateTime, IECDateTimeToQDateTime, "_ZN21CodesysTimeConversion22IECDateTimeToQDateTimeEj",
         (unsigned int value), (value), nullptr, {value})
RECORDED(unsigned int, QDateTimeToIECUtcDateTime,
         "_ZN21CodesysTimeConversion25QDateTimeToIECUtcDateTimeERK9QDateTime", (const QDateTime& dateTime),
         (dateTime), nullptr, {dateTime})
