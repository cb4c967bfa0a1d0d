#pragma once

/** Writing client of the event-list service. Objects share nothing; each may live for a single call. */
class EventlistHandlerDBusConnectorWrite {
 public:
  /** @param deviceBus true attaches to the device's bus, false refuses every request. [plc-task] */
  explicit EventlistHandlerDBusConnectorWrite(bool deviceBus) noexcept : m_deviceBus(deviceBus) {}

  /**
   * Hand over the request to delete the whole event list; it keeps its place behind what was handed over
   * before.
   * @return true when it was accepted for sending, false when it was refused (and counted as lost).
   * [plc-task]
   */
  bool deleteEventlist();

 private:
  bool m_deviceBus;
};
