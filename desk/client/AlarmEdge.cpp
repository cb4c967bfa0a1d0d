#include "AlarmEdge.h"

#include <QtEndian>

#include "EventlistHandlerEnums.h"
#include "MessageFormat.h"

namespace Tavroline {

// Reads the fields with which MessageWriter::entry() begins an entry: size, kind, alarm identifier, state and
// type. The list service decides by the same fields whether an entry is an edge.
std::optional<AlarmEdge> AlarmEdge::of(std::string_view message) {
  constexpr std::size_t kKind = sizeof(quint32), kIdSize = kKind + 1, kId = kIdSize + sizeof(quint32);
  if (message.at(kKind) != static_cast<char>(MessageFormat::Kind::Entry)) {
    return std::nullopt;
  }
  const auto size = qFromLittleEndian<quint32>(message.data() + kIdSize);
  if (size == 0) {
    return std::nullopt;
  }
  using Enums = EventlistHandlerEnums;
  const char* const fields = message.data() + kId + size;
  const auto state = qFromLittleEndian<qint32>(fields);
  const auto type = qFromLittleEndian<qint32>(fields + sizeof state);
  const bool on = state == Enums::StateOn && (type == Enums::EventTypeAlarm || type == Enums::EventTypeFault);
  if (!on && state != Enums::StateOff) {
    return std::nullopt;
  }
  return AlarmEdge{message.substr(kId, size), on, message};
}

}  // namespace Tavroline
