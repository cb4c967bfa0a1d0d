#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <string>

/**
 * Keeps a log small when the same lines are written again and again: a line is passed on once in ten seconds.
 * A line that was held back meanwhile is passed on afterwards, once, followed by "... 312 times more".
 *
 * The number follows when the next line is added after the ten seconds, when kLines other lines are newer, or
 * at end().
 */
class RepeatedLines {
 public:
  using Clock = std::chrono::steady_clock;
  using Write = std::function<void(const std::string& line)>;

  static constexpr std::chrono::seconds kInterval{10};
  /** Maximum number of different lines that are compared. */
  static constexpr std::size_t kLines = 64;

  /** @param write gets each line that is passed on */
  explicit RepeatedLines(Write write) : m_write(std::move(write)) {}

  void add(const std::string& line, Clock::time_point now);
  /** Pass on all numbers. */
  void end();

 private:
  struct Line {
    std::string text;
    Clock::time_point written;
    std::uint64_t repeated = 0;
  };

  void removeOldest();

  Write m_write;
  std::list<Line> m_lines;  ///< the oldest first
};
