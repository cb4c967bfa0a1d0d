#pragma once

#include <QString>

#include <array>
#include <list>

#include "ListServiceNames.h"

/**
 * What the clients last told of their books, each by its session. Kept in memory for who looks at it: nothing
 * is computed from it and nothing of it is stored.
 */
class ClientBooks {
 public:
  /** Sessions at most; the one that reported longest ago goes first. */
  static constexpr std::size_t kKept = 64;

  using Figures = std::array<quint64, Tavroline::ListServiceNames::kBookFigures.size()>;

  struct Report {
    QString session;
    qint64 time = 0;  ///< of its arrival, milliseconds since 1970-01-01 00:00:00 UTC
    Figures figures{};
  };

  /** Keep this instead of the session's last report. [any-thread] */
  void keep(const Report& report);

  /** The newest report first; valid until the next keep(). [any-thread] */
  const std::list<Report>& reports() const { return m_reports; }

 private:
  std::list<Report> m_reports;
};
