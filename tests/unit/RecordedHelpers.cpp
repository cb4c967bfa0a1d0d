// The text and time helpers as the component calls them: each call goes to the real helper and into the log.
// The linker directs the calls here (--wrap with the names listed in CMakeLists.txt).

#include <QDateTime>

#include "fake_platform.h"

#define WRAPPED(result, name, symbol, ...)                 \
  result real##name(__VA_ARGS__) asm("__real_" symbol);    \
  result wrapped##name(__VA_ARGS__) asm("__wrap_" symbol); \
  result wrapped##name(__VA_ARGS__)

WRAPPED(void, ReadString, "_Z24copyCStringDataToQStringPKciR7QString", const char* source, int length,
        QString& target) {
  realReadString(source, length, target);
  fake::record("copyCStringDataToQString", {target, length}, source);
}
WRAPPED(void, ReadWString, "_Z24copyWStringDataToQStringPKtiR7QString", const unsigned short* source,
        int length, QString& target) {
  realReadWString(source, length, target);
  fake::record("copyWStringDataToQString", {target, length}, source);
}
WRAPPED(bool, WriteString, "_Z28copyQStringDataToCStringDataRK7QStringPcsb", const QString& source,
        char* target, short capacity, bool freeText) {
  fake::record("copyQStringDataToCStringData", {source, capacity, freeText}, target);
  return realWriteString(source, target, capacity, freeText);
}
WRAPPED(bool, WriteWString, "_Z28copyQStringDataToWStringDataRK7QStringPtsb", const QString& source,
        unsigned short* target, short capacity, bool freeText) {
  fake::record("copyQStringDataToWStringData", {source, capacity, freeText}, target);
  return realWriteWString(source, target, capacity, freeText);
}
WRAPPED(QDateTime, ReadUtc, "_ZN21CodesysTimeConversion25IECUtcDateTimeToQDateTimeEj", unsigned int value) {
  fake::record("IECUtcDateTimeToQDateTime", {value}, nullptr);
  return realReadUtc(value);
}
WRAPPED(QDateTime, ReadLocal, "_ZN21CodesysTimeConversion22IECDateTimeToQDateTimeEj", unsigned int value) {
  fake::record("IECDateTimeToQDateTime", {value}, nullptr);
  return realReadLocal(value);
}
WRAPPED(unsigned int, WriteUtc, "_ZN21CodesysTimeConversion25QDateTimeToIECUtcDateTimeERK9QDateTime",
        const QDateTime& dateTime) {
  fake::record("QDateTimeToIECUtcDateTime", {dateTime}, nullptr);
  return realWriteUtc(dateTime);
}
