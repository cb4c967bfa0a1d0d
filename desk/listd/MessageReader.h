#pragma once

#include <QByteArrayList>

#include <string_view>
#include <vector>

#include "MessageFormat.h"
#include "StoredEntry.h"

/**
 * Reads a batch of messages in the form that MessageFormat.h names, and enforces the service's bounds: every
 * part of a valid message may be stored and sent. The work is linear in the size of the batch.
 *
 * Texts that are too long are cut, and so are lists; busText() replaces characters that the bus does not
 * accept. What else is wrong with a message makes it invalid.
 */
namespace MessageReader {

constexpr int kMaxText = 4096;       ///< UTF-16 code units of one text
constexpr int kMaxIdentifier = 255;  ///< UTF-16 code units of an alarm identifier
constexpr int kMaxItems = 1000;      ///< keywords; elements of one list, members of one map in a description
constexpr int kMaxMembers = 10 * kMaxItems;  ///< members of all maps of one description
constexpr int kMaxIds = 10000;               ///< alarms that one message acknowledges
constexpr int kMaxNesting = 4;               ///< levels of lists and maps within the description's map
constexpr int kMaxJson = 256 * 1024;         ///< bytes of the description, and of the keywords, as stored

/** Its texts may refer to the bytes of the batch and are valid as long as these. */
struct Message {
  bool valid = false;  ///< if not, nothing else of it is set
  Tavroline::MessageFormat::Kind kind = {};
  StoredEntry entry;        ///< of an acknowledgement only the user
  QByteArrayList alarmIds;  ///< of an acknowledgement of alarms
};
using Batch = std::vector<Message>;

/** @throws CallError if the bytes are not divided into messages or exceed the bounds of a batch */
Batch read(std::string_view bytes);

/** A text that may be stored and sent: cut to kMaxText without splitting a character, unfit characters
 * replaced. Refers to `utf8` if there is nothing to change. */
QByteArray fitText(std::string_view utf8);

}  // namespace MessageReader
