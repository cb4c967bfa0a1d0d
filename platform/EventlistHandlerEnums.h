#pragma once

/** Event types and states as the list services number them. Any 16-bit value may travel in either type. */
struct EventlistHandlerEnums {
  enum EventType : int {
    EventTypeAlarm = 0,
    EventTypeAuditTrail = 1,
    EventTypeFault = 2,
    EventTypeEvent = 3
  };
  enum State : int { StateNeutral = 0, StateOn = 1, StateOff = 2 };
};
