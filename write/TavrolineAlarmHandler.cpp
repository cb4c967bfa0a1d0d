#include "TavrolineAlarmHandler.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QMessageLogger>
#include <QUuid>

#include "ErrorContainer.h"
#include "EventCodes.h"
#include "EventlistHandlerDefinitions.h"
#include "ReplyState.h"
#include "RuntimeLog.h"
#include "SpsConfigurationManagerDefinitions.h"
#include "Synchronization.h"
#include "TavrolineConvenienceFunctions.h"

using namespace Tavroline;

namespace {

constexpr char kFile[] = "TavrolineAlarmHandler";
constexpr qint64 kPauseAfterFailureMilliseconds = 5000;

}  // namespace

TavrolineAlarmHandler::TavrolineAlarmHandler(QObject* parent)
    : QObject(parent),
      m_EventlistHandlerConnector(SpsConfigurationManagerDefinitions::getObjectNameEvents()),
      m_EventType(EventCodes::kAlarm),
      m_State(EventCodes::kOff),
      m_sAlarmId(QUuid::createUuid().toString()),
      m_bRequestAlarmState(true) {}

TavrolineAlarmHandler::~TavrolineAlarmHandler() {
  if (m_State != EventCodes::kOn) {
    return;
  }
  m_State = EventCodes::kOff;
  reportExceptions(kFile, "virtual TavrolineAlarmHandler::~TavrolineAlarmHandler()",
                   [this] { send(TavrolineConvenienceFunctions::getDefaultIconType(m_EventType, m_State)); });
}

void TavrolineAlarmHandler::changeState(EventlistHandlerEnums::EventType type,
                                        EventlistHandlerEnums::State state, const QString& iconType,
                                        const QString& moduleName, const QDateTime& dateTime,
                                        const QVariantMap& description, const QStringList& keywords,
                                        const QString& user) {
  if (state == EventCodes::kNeutral) {
    QMessageLogger(kFile, __LINE__,
                   "void TavrolineAlarmHandler::changeState(EventlistHandlerEnums::EventType, "
                   "EventlistHandlerEnums::State, const QString&, const QString&, const QDateTime&, "
                   "const QVariantMap&, const QStringList&, const QString&)")
        .warning("Neutral alarm or fault not allowed");
    return;
  }
  const bool raised = state == EventCodes::kOn && m_State == EventCodes::kOff;
  const bool cleared = state == EventCodes::kOff && m_State == EventCodes::kOn;
  if (!raised && !cleared) {
    return;
  }
  const QString icon =
      iconType.isEmpty() ? TavrolineConvenienceFunctions::getDefaultIconType(type, state) : iconType;
  saveData(type, state, moduleName, dateTime, description, keywords, user);
  send(icon);
}

void TavrolineAlarmHandler::saveData(EventlistHandlerEnums::EventType type,
                                     EventlistHandlerEnums::State state, const QString& moduleName,
                                     const QDateTime& dateTime, const QVariantMap& description,
                                     const QStringList& keywords, const QString& user) {
  m_EventType = type;
  m_State = state;
  replaceShared(m_sModuleName, moduleName);
  m_DateTime = dateTime;
  m_Description = description;
  m_Keywords = keywords;
  replaceShared(m_sUser, user);
}

std::int16_t TavrolineAlarmHandler::getAlarmState(bool& active, bool& acknowledged) {
  const bool pauseOver =
      m_SinceQueryFailure.isValid() && m_SinceQueryFailure.elapsed() >= kPauseAfterFailureMilliseconds;
  if (m_bRequestAlarmState || pauseOver) {
    startStateQuery();
  }
  if (!m_PendingAlarmStateReply) {
    return stateQueryFailed(QStringLiteral("getAlarmState: DBusPendingReply nullpointer"));
  }
  ErrorContainer error(ErrorContainer::getErrorCodeNoError(), QString());
  switch (m_PendingAlarmStateReply->isFinished(error)) {
    case ReplyArrived: {
      const QJsonObject state =
          QJsonDocument::fromJson(m_PendingAlarmStateReply->getReply().toByteArray()).object();
      active = state.value(EventlistHandlerDefinitions::getListColumnNameAlarmActive()).toBool();
      acknowledged =
          state.value(EventlistHandlerDefinitions::getListColumnNameAlarmAcknowledgment()).toBool();
      m_bRequestAlarmState = true;
      return ResultDone;
    }
    case ReplyOutstanding:
      return ResultBusy;
    default:
      return stateQueryFailed(QStringLiteral("getAlarmState: DBus access error"));
  }
}

void TavrolineAlarmHandler::startStateQuery() {
  {
    const LockGuard<QRecursiveMutex> lock(sm_Mutex);
    m_PendingAlarmStateReply = sm_AlarmlistHandlerDBusConnectorRead.getAlarmState(m_sAlarmId);
  }
  m_bRequestAlarmState = false;
  m_SinceQueryFailure.invalidate();
}

std::int16_t TavrolineAlarmHandler::stateQueryFailed(const QString& message) {
  if (!m_SinceQueryFailure.isValid()) {
    m_SinceQueryFailure.start();
  }
  RuntimeLog::write(kFile, "int16_t TavrolineAlarmHandler::getAlarmState(bool&, bool&)", message);
  return ResultError;
}

void TavrolineAlarmHandler::send(const QString& iconType) const {
  m_EventlistHandlerConnector.logEvent(m_EventType, m_State, iconType, m_sModuleName, m_DateTime,
                                       m_Description, m_Keywords, m_sUser, m_sAlarmId);
}
