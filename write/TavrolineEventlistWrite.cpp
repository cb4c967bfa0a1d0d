#include "TavrolineEventlistWrite.h"

#include <QMessageLogger>

#include "EventCodes.h"
#include "SpsConfigurationManagerDefinitions.h"
#include "TavrolineConvenienceFunctions.h"

using namespace Tavroline;

namespace {
/** Line number that the interface prescribes for this message, independent of the source line. */
constexpr int kRefusedTypeLine = 49;
}  // namespace

TavrolineEventlistWrite::TavrolineEventlistWrite()
    : m_EventlistHandlerConnector(SpsConfigurationManagerDefinitions::getObjectNameEvents()),
      m_EventlistHandlerConnectorWrite(true) {}

TavrolineEventlistWrite::~TavrolineEventlistWrite() = default;

void TavrolineEventlistWrite::logEvent(EventlistHandlerEnums::EventType type,
                                       EventlistHandlerEnums::State state, const QString& iconType,
                                       const QString& moduleName, const QDateTime& dateTime,
                                       const QVariantMap& description, const QStringList& keywords,
                                       const QString& user) const {
  const QString icon =
      iconType.isEmpty() ? TavrolineConvenienceFunctions::getDefaultIconType(type, state) : iconType;
  if (type == EventCodes::kAlarm || type == EventCodes::kFault) {
    QMessageLogger("TavrolineEventlistWrite", kRefusedTypeLine,
                   "void TavrolineEventlistWrite::logEvent(EventlistHandlerEnums::EventType, "
                   "EventlistHandlerEnums::State, const QString&, const QString&, const QDateTime&, "
                   "const QVariantMap&, const QStringList&, const QString&) const")
        .warning("Can't set alarm or fault");
    return;
  }
  m_EventlistHandlerConnector.logEvent(type, state, icon, moduleName, dateTime, description, keywords, user,
                                       QString());
}
