#pragma once

#include <chrono>
#include <map>

#include "ListService.h"

/** Ends the sessions whose program is gone: each one after its grace time, unless a connection resumes it.
 * Their alarms are then off. */
class SessionExpiry {
 public:
  /**
   * The grace time of every session that has alarms begins now.
   * @param service must outlive this object
   * @param grace 0: no session is ended
   */
  SessionExpiry(ListService& service, std::chrono::seconds grace);

  /** The connection of this session has ended: its grace time begins, if it has alarms. */
  void begin(const QByteArray& session) noexcept;
  /** A connection has resumed this session. */
  void cancel(const QByteArray& session) { m_due.erase(session); }

  /** End the sessions whose grace time is over. */
  void endSessions();
  /** Milliseconds until endSessions() must be called, INT_MAX if it need not be. */
  int timeout() const;

 private:
  using Clock = std::chrono::steady_clock;

  ListService& m_service;
  std::chrono::seconds m_grace;
  std::map<QByteArray, Clock::time_point> m_due;  ///< when the grace time of a session is over
};
