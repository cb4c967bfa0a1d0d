#pragma once

#include <QDateTime>
#include <QElapsedTimer>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <cstdint>

#include "AlarmlistHandlerDBusConnectorRead.h"
#include "CodesysEventlistHandlerConnector.h"
#include "DBusPendingReply.h"
#include "EventlistHandlerEnums.h"
#include "LiveObjects.h"

/**
 * One alarm or fault of the PLC application, which the services know by its unique identifier. Turns the
 * application's level into edges: only a change between on and off is sent. Calls on one handler must not
 * overlap.
 */
class TavrolineAlarmHandler : public QObject {
  Q_OBJECT

 public:
  explicit TavrolineAlarmHandler(QObject* parent);
  /** Clears an alarm that is still on, with the data and time of its last change. [plc-task] */
  ~TavrolineAlarmHandler() override;

  /**
   * Raise (state on, accepted while off) or clear (state off, accepted while on). Any other call is dropped
   * and stores nothing; state neutral gives a Qt warning. The type is not checked.
   * @param iconType empty selects the default of type and state. [plc-task]
   */
  void changeState(EventlistHandlerEnums::EventType type, EventlistHandlerEnums::State state,
                   const QString& iconType, const QString& moduleName, const QDateTime& dateTime,
                   const QVariantMap& description, const QStringList& keywords, const QString& user);

  /** Store the data of an accepted change; used by changeState(). [plc-task] */
  void saveData(EventlistHandlerEnums::EventType type, EventlistHandlerEnums::State state,
                const QString& moduleName, const QDateTime& dateTime, const QVariantMap& description,
                const QStringList& keywords, const QString& user);

  /**
   * One step of asking the service for this alarm's state. After ResultDone the next call starts a new query;
   * after a failure no query starts before 5000 ms have passed.
   * @param active, acknowledged written only with ResultDone
   * @return ResultDone, ResultBusy while the query is outstanding, or ResultError. [plc-task]
   */
  std::int16_t getAlarmState(bool& active, bool& acknowledged);

 protected:
  CodesysEventlistHandlerConnector m_EventlistHandlerConnector;
  EventlistHandlerEnums::EventType m_EventType;
  EventlistHandlerEnums::State m_State;
  QString m_sModuleName;
  QDateTime m_DateTime;
  QVariantMap m_Description;
  QStringList m_Keywords;
  QString m_sUser;
  QString m_sAlarmId;
  DBusPendingReply::SharedPointer m_PendingAlarmStateReply;
  bool m_bRequestAlarmState;
  QElapsedTimer m_SinceQueryFailure;  ///< invalid while no query has failed
  const Tavroline::LiveObjects::Entry m_LiveEntry{this, Tavroline::LiveObjects::Family::AlarmHandler};

  static QRecursiveMutex sm_Mutex;
  static AlarmlistHandlerDBusConnectorRead sm_AlarmlistHandlerDBusConnectorRead;

 private:
  void startStateQuery();
  std::int16_t stateQueryFailed(const QString& message);
  void send(const QString& iconType) const;
};
