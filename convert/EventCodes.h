#pragma once

#include "EventlistHandlerEnums.h"

/**
 * The numbers of event types and states that the component itself acts on; every other number only passes
 * through. The device's enumerations give the types, their enumerators may be named as the device likes.
 * [any-thread]
 */
namespace Tavroline::EventCodes {

constexpr auto kAlarm = static_cast<EventlistHandlerEnums::EventType>(0);
constexpr auto kAuditTrail = static_cast<EventlistHandlerEnums::EventType>(1);
constexpr auto kFault = static_cast<EventlistHandlerEnums::EventType>(2);
constexpr auto kEvent = static_cast<EventlistHandlerEnums::EventType>(3);

constexpr auto kNeutral = static_cast<EventlistHandlerEnums::State>(0);
constexpr auto kOn = static_cast<EventlistHandlerEnums::State>(1);
constexpr auto kOff = static_cast<EventlistHandlerEnums::State>(2);

}  // namespace Tavroline::EventCodes
