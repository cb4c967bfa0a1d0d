#pragma once

#include <QString>

#include <cstdint>

/** The device's 32-bit hash of a name: the same for the same text on every machine and in every run.
 * [any-thread] */
std::uint32_t hashFromString(const QString& text);
