#pragma once

#include <cstddef>
#include <cstdint>

/**
 * The form of the messages in the argument `messages` of org.tavroline.Messages1, which
 * org.tavroline.ListService1.xml describes. All numbers are little-endian and unaligned.
 */
namespace Tavroline::MessageFormat {

/** What a message does; the byte after its size. */
enum class Kind : std::uint8_t {
  Entry = 1,                ///< an event or an edge of an alarm
  DeleteEvents = 2,         ///< deletes the event list
  AcknowledgeAlarms = 3,    ///< acknowledges the alarms with these identifiers
  AcknowledgeDetector = 4,  ///< acknowledges the central detector
  EntryByHand = 5           ///< an entry of a person; an alarm that it turns on belongs to no session
};

/** Tags of the values in a description. */
enum class Tag : char { Int = 'i', Bool = 'b', Double = 'd', Text = 's', List = 'l', Map = 'm' };

/** Bounds of one batch; one message alone may have kMaxMessageBytes. Both sizes include each message's size
 * field. */
constexpr std::size_t kMaxBatchMessages = 256;
constexpr std::size_t kMaxBatchBytes = 64U << 10U;
constexpr std::size_t kMaxMessageBytes = 1U << 20U;

}  // namespace Tavroline::MessageFormat
