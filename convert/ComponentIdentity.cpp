#include "ComponentIdentity.h"

#include "StringHash.h"

std::uint32_t ComponentIdentity::componentId() {
  return (hashFromString(QLatin1String(kName)) & 0xFFFFu) | 0x1B4E3000u;
}
