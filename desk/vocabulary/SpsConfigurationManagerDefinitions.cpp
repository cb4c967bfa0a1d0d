#include "SpsConfigurationManagerDefinitions.h"

QString SpsConfigurationManagerDefinitions::getObjectNameEvents() {
  return QStringLiteral("PlcEvents");
}
