#pragma once

/**
 * Writing client of the event-list service. An object is used for one call; several objects may be used at
 * the same time on different threads. No operation waits for the bus. Messages are sent even after the object
 * is destroyed.
 */
class EventlistHandlerDBusConnectorWrite {
 public:
  /** @param deviceBus true, always: attach to the device's bus. [plc-task] */
  explicit EventlistHandlerDBusConnectorWrite(bool deviceBus) noexcept : m_deviceBus(deviceBus) {}

  /**
   * Hand over the request to delete the whole event list. It takes effect after everything that was handed
   * over before it.
   * @return whether it was accepted for sending; the component does not use it. [plc-task]
   */
  bool deleteEventlist();

 private:
  bool m_deviceBus;
};
