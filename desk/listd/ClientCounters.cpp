#include "ClientCounters.h"

void ClientCounters::keep(const Report& report) {
  m_reports.remove_if([&report](const Report& kept) { return kept.session == report.session; });
  m_reports.push_front(report);
  if (m_reports.size() > kKept) {
    m_reports.pop_back();
  }
}
