#include "EventlistHandlerDBusConnectorRead.h"

#include <algorithm>
#include <new>

#include "Hub.h"
#include "RequestSlot.h"

using namespace Tavroline;

/** Holds which changes the connector has reported. If the connector was not constructed for the device's bus,
 * or if memory allocation failed, the connector has no Private object and its functions return null or
 * false. */
class EventlistHandlerDBusConnectorRead::Private {
 public:
  Hub& hub = Hub::instance();
  quint32 seenChanges = hub.listState().events.count();
};

EventlistHandlerDBusConnectorRead::EventlistHandlerDBusConnectorRead(bool deviceBus) noexcept
    : m_private(deviceBus ? new (std::nothrow) Private : nullptr) {}

EventlistHandlerDBusConnectorRead::~EventlistHandlerDBusConnectorRead() = default;

DBusPendingReply::SharedPointer EventlistHandlerDBusConnectorRead::getCompleteEventlist(
    const QString& language) {
  return m_private ? Hub::instance().request(RequestKind::EventList, language) : nullptr;
}

DBusPendingReply::SharedPointer EventlistHandlerDBusConnectorRead::getPartOfEventlist(
    const QString& language, const QStringList& criteriaA, const QStringList& criteriaB,
    const QStringList& criteriaC, const QStringList& criteriaD, const QDateTime& earliest,
    const QDateTime& latest, const QStringList& keywords, int count) {
  if (!m_private) {
    return {};
  }
  const bool byCountAlone = criteriaA.isEmpty() && criteriaB.isEmpty() && criteriaC.isEmpty() &&
                            criteriaD.isEmpty() && earliest.isNull() && latest.isNull() && keywords.isEmpty();
  if (!byCountAlone) {
    return DBusPendingReply::Private::failed("the list service selects by count alone");
  }
  return Hub::instance().request(RequestKind::EventList, language, static_cast<quint32>(std::max(count, 0)));
}

bool EventlistHandlerDBusConnectorRead::changedFlagEventlist() {
  return m_private && m_private->hub.start() &&
         m_private->hub.listState().events.changedSince(m_private->seenChanges);
}
