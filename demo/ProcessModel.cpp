#include "ProcessModel.h"

#include <algorithm>

namespace {

constexpr std::uint32_t kSecondsPerStep = 60;
constexpr int kPumpRate = 5;         // percent per step
constexpr int kSetpointMargin = 10;  // the pump starts above and stops below the set-point by this much
constexpr int kLevelHighOn = 85;
constexpr int kLevelHighOff = 80;

}  // namespace

void ProcessModel::step() {
  m_time += kSecondsPerStep;
  m_level = std::clamp(m_level + m_inflow - (m_pumpRuns ? kPumpRate : 0), 0, 100);
  if (m_byHand || m_level >= m_setpoint + kSetpointMargin) {
    m_pumpRuns = true;
  } else if (m_level <= m_setpoint - kSetpointMargin) {
    m_pumpRuns = false;
  }
  m_levelHigh = m_level >= (m_levelHigh ? kLevelHighOff : kLevelHighOn);
}
