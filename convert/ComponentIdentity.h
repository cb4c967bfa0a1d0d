#pragma once

#include <cstdint>

/**
 * Who this component is towards the runtime: its name and its identifier. Nothing is stored here; the
 * identifier is worked out of the name wherever it is needed.
 */
namespace ComponentIdentity {

constexpr char kName[] = "Tavroline";

/** The name's hash in the low 16 bits, ORed with 0x1B4E3000. [any-thread] */
std::uint32_t componentId();

}  // namespace ComponentIdentity
