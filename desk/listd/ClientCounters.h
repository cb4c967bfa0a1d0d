#pragma once

#include <QByteArray>

#include <array>
#include <list>

#include "ListServiceNames.h"

/**
 * The message counters that each client has reported last. Kept in memory for the method GetCounters; the
 * service itself does not use them.
 */
class ClientCounters {
 public:
  /** Maximum number of sessions; the one with the oldest report is removed first. */
  static constexpr std::size_t kKept = 64;

  using Values = std::array<quint64, Tavroline::ListServiceNames::kCounterNames.size()>;

  struct Report {
    QByteArray session;  ///< never published
    QByteArray program;
    quint32 user = 0;
    qint64 time = 0;  ///< when it was received, ms since 1970-01-01 00:00:00 UTC
    Values values{};
  };

  /** Keep this report in place of the session's earlier one. */
  void keep(const Report& report) {
    m_reports.remove_if([&report](const Report& kept) { return kept.session == report.session; });
    m_reports.push_front(report);
    if (m_reports.size() > kKept) {
      m_reports.pop_back();
    }
  }

  /** All reports, the newest first; valid until the next keep(). */
  const std::list<Report>& reports() const { return m_reports; }

 private:
  std::list<Report> m_reports;
};
