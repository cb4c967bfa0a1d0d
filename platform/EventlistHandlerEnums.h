#pragma once

/** Event types and states as the list services number them. The component stores any 16-bit value of an
 * application in either type, so they need an underlying type of at least 16 bits. */
struct EventlistHandlerEnums {
  enum EventType : int {
    EventTypeAlarm = 0,
    EventTypeAuditTrail = 1,
    EventTypeFault = 2,
    EventTypeEvent = 3
  };
  enum State : int { StateNeutral = 0, StateOn = 1, StateOff = 2 };
};
