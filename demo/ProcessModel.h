#pragma once

#include <cstdint>

/**
 * A model of the basin with its pump: level, inflow, set-point. Every step is one simulated minute, so that
 * entries have different time stamps. It does not depend on lists and alarms.
 */
class ProcessModel {
 public:
  /** @param start simulated time of the first step, seconds since 1970-01-01 00:00:00 UTC. */
  explicit ProcessModel(std::uint32_t start) : m_time(start) {}

  void step();

  void setInflow(int percentPerStep) { m_inflow = percentPerStep; }
  void setSetpoint(int percent) { m_setpoint = percent; }
  /** By hand the pump runs at any level. */
  void setPumpByHand(bool byHand) { m_byHand = byHand; }

  std::uint32_t time() const { return m_time; }
  int level() const { return m_level; }  ///< percent of the basin
  int setpoint() const { return m_setpoint; }
  bool pumpByHand() const { return m_byHand; }
  bool pumpRuns() const { return m_pumpRuns; }
  bool levelHigh() const { return m_levelHigh; }
  bool dryRun() const { return m_pumpRuns && m_level == 0; }

 private:
  std::uint32_t m_time;
  int m_level = 50;
  int m_inflow = 2;
  int m_setpoint = 50;
  bool m_byHand = false;
  bool m_pumpRuns = false;
  bool m_levelHigh = false;
};
