#pragma once

#include "EventlistHandlerEnums.h"
#include "tavroline/conventions.h"

/**
 * The event types and states on which the component itself acts, in the types of the device's enumerations,
 * whatever the device names its enumerators. [any-thread]
 */
namespace Tavroline::EventCodes {

constexpr auto kAlarm = static_cast<EventlistHandlerEnums::EventType>(TAVROLINE_ALARM);
constexpr auto kAuditTrail = static_cast<EventlistHandlerEnums::EventType>(TAVROLINE_AUDIT_TRAIL);
constexpr auto kFault = static_cast<EventlistHandlerEnums::EventType>(TAVROLINE_FAULT);
constexpr auto kEvent = static_cast<EventlistHandlerEnums::EventType>(TAVROLINE_EVENT);

constexpr auto kNeutral = static_cast<EventlistHandlerEnums::State>(TAVROLINE_NEUTRAL);
constexpr auto kOn = static_cast<EventlistHandlerEnums::State>(TAVROLINE_ON);
constexpr auto kOff = static_cast<EventlistHandlerEnums::State>(TAVROLINE_OFF);

}  // namespace Tavroline::EventCodes
