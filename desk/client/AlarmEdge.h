#pragma once

#include <optional>
#include <string_view>

namespace Tavroline {

/** An edge is a message that turns an alarm or fault on or off. */
struct AlarmEdge {
  std::string_view alarmId;  ///< UTF-8, not empty; points into `message`
  bool on;                   ///< true if the edge turns the alarm on, false if it turns the alarm off
  std::string_view message;  ///< the message that was parsed

  /** Parse a message that MessageWriter has encoded. @return nullopt if the message is not an
   * edge. [any-thread] */
  static std::optional<AlarmEdge> of(std::string_view message);
};

}  // namespace Tavroline
