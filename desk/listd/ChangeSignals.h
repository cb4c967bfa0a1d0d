#pragma once

#include <QElapsedTimer>

#include "BusCall.h"

/** Emits the change signals of both lists, for all changes since the last ones together. */
class ChangeSignals {
 public:
  /** Minimum interval between change signals, in ms, so that a burst of entries is not a burst of signals. A
   * query sends pending signals at once. */
  static constexpr qint64 kInterval = 10;

  /** @param bus, service must outlive this object */
  ChangeSignals(sd_bus* bus, ListService& service);

  /** Emit pending signals now. If the storage fails, they stay pending. */
  void emitNow();
  /** Emit pending signals if kInterval has passed since the last ones. */
  void emitDue();
  /** Milliseconds until emitDue() must be called, INT_MAX if nothing is pending. */
  int timeout() const;

 private:
  sd_bus* m_bus;
  ListService& m_service;
  ListSnapshot m_reported;
  quint64 m_changes;  ///< of the service at the last signals
  QElapsedTimer m_sinceSignals;
};
