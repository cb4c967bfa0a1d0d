#pragma once

#include <QString>

#include <cstdint>

/** The device's 32-bit hash of a name, the same on every machine and in every run. The component's identifier
 * is made of it. [any-thread] */
std::uint32_t hashFromString(const QString& text);
