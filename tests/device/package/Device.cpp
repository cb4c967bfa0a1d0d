#include "Device.h"

QJsonArray deviceList;
unsigned deviceChanges = 0;

CodesysLog& CodesysLog::operator<<(const QVariant& item) {
  pfLogAdd(nullptr, id, 2, 0, 0, "%s", item.toString().toUtf8().constData());
  return *this;
}
void copyCStringDataToQString(const char* source, int length, QString& target) {
  target = QString::fromLatin1(source, length);
}
void copyWStringDataToQString(const unsigned short* source, int length, QString& target) {
  target = QString::fromUtf16(source, length);
}
