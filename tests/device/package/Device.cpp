#include "Device.h"

QJsonArray deviceList;
