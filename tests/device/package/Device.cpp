#include "Device.h"

unsigned long hashFromString(const QString&) {
  return 0;
}
