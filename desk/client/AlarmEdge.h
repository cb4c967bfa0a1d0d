#pragma once

#include <optional>
#include <string_view>

namespace Tavroline {

/** An edge: a message that turns an alarm or fault on or off, encoded as MessageFormat.h describes. The views
 * point into that message. */
struct AlarmEdge {
  std::string_view alarmId;  ///< UTF-8, not empty
  bool on;                   ///< whether the message turns the alarm on
  std::string_view message;  ///< the whole message, its size field included

  /** Parse a message; nullopt if it is not an edge. [any-thread] */
  static std::optional<AlarmEdge> of(std::string_view message);
};

}  // namespace Tavroline
