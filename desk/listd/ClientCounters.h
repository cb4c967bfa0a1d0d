#pragma once

#include <QString>

#include <array>
#include <list>

#include "ListServiceNames.h"

/**
 * The message counters that each client has reported last. Kept in memory for the method GetBooks; the
 * service itself does not use them.
 */
class ClientCounters {
 public:
  /** Maximum number of sessions; the one with the oldest report is removed first. */
  static constexpr std::size_t kKept = 64;

  using Figures = std::array<quint64, Tavroline::ListServiceNames::kBookFigures.size()>;

  struct Report {
    QString session;
    qint64 time = 0;  ///< when it was received, ms since 1970-01-01 00:00:00 UTC
    Figures figures{};
  };

  /** Keep this report in place of the session's earlier one. */
  void keep(const Report& report);

  /** All reports, the newest first; valid until the next keep(). */
  const std::list<Report>& reports() const { return m_reports; }

 private:
  std::list<Report> m_reports;
};
