#include "StringHash.h"

// FNV-1a over the UTF-8 form; qHash() would differ from run to run and between word sizes.
std::uint32_t hashFromString(const QString& text) {
  std::uint32_t hash = 0x811C9DC5U;
  for (const char byte : text.toUtf8()) {
    hash = (hash ^ static_cast<unsigned char>(byte)) * 0x01000193U;
  }
  return hash;
}
