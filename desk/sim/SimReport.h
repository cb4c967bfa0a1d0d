#pragma once

#include <QJsonArray>

#include <cstdint>
#include <string>

#include "CallMonitor.h"
#include "Course.h"

/** What a run prints and records at its end. */
class SimReport {
 public:
  /** @param course must outlive this object */
  explicit SimReport(Course& course) : m_course(course) {}

  /** Keep the alarm list and the flags of now; the library is still loaded. */
  void keepRaised();
  /** Unload the library, and keep how long it takes. */
  void unload();
  /** Keep both lists of now; the library is unloaded. The present service ends, and those of lost stores run
   * one after the other. */
  void keepLists();

  static void printCalls(const CallMonitor& monitor);
  void printLists() const;
  /** Write it into that folder, for the auditor. */
  void record(const std::string& folder) const;
  /** A number that is the same for the same run. @param logFile part of it, from the byte `logBegin` on,
   * unless empty */
  std::uint64_t digest(const std::string& logFile, std::int64_t logBegin) const;

 private:
  Course& m_course;
  QJsonArray m_raised;
  std::int64_t m_raisedAt = 0;
  QString m_flags;
  Nanoseconds m_unloading = 0;
  QJsonArray m_cleared;
  QJsonArray m_stores;  ///< pairs of a list and the time at which it was lost
};
