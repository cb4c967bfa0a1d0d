#pragma once

#include <QElapsedTimer>
#include <QJsonArray>
#include <QString>

#include <cstdint>

#include "DBusPendingReply.h"
#include "LiveObjects.h"
#include "ReplyState.h"
#include "Synchronization.h"
#include "TavrolineFilter.h"

/**
 * What every read handle has besides its filter: the language, the list-changed flag, the last loaded list,
 * and the protocol that loads a list one step per call and never waits. Does not know which list it reads: a
 * derived class issues the request and owns the state that its readers share. Takes no lock.
 */
class TavrolineReadBaseClass : public TavrolineFilter {
 public:
  /** Whether this reader has an outstanding request. */
  enum ReadState : std::int32_t { ReadStateIdle = 0, ReadStatePending = 1 };

  TavrolineReadBaseClass() = default;
  ~TavrolineReadBaseClass() override;

  /** Language of the next request; empty is the service's default. [plc-task] */
  void setLanguage(const QString& language);

  /** Whether the service has reported a change since construction or resetListChanged(). [plc-task] */
  bool hasListChanged() const { return Tavroline::SharedFlag::load(m_bListChanged); }
  void resetListChanged();

  /**
   * Issues the list request and keeps its reply. Derived classes override this; the base only logs that they
   * did not.
   * @param n number of entries, which the service chooses; 0 for all
   * @return ResultBusy once issued, otherwise ResultError. [plc-task]
   */
  virtual std::int16_t readListAsynchron(std::uint16_t n);

  /**
   * Asks the reply for its state. If it has arrived, parses and stores the list and releases the reply. A
   * reply that is not a list empties the stored list; a failed reply keeps it.
   * @return ResultDone, ResultBusy or ResultError. [plc-task] under the class mutex
   */
  std::int16_t getStatusReadListAsynchron(DBusPendingReply::SharedPointer& reply);

  /**
   * One step of loading: waits for another reader's request, issues its own or asks for its reply.
   * @param bInterfaceReady false while a reader of the class has an outstanding request
   * @param timer time since the last load call that was allowed to use the interface; after more than 5000 ms
   * the call of a waiting reader frees the interface and returns ResultBusy
   * @return ResultDone, ResultBusy or ResultError. [plc-task] under the class mutex
   */
  std::int16_t loadCompleteList(bool& bInterfaceReady, QElapsedTimer& timer, std::uint16_t n);

 protected:
  QString m_sLanguage;
  bool m_bListChanged = false;
  QJsonArray m_ListData;
  DBusPendingReply::SharedPointer m_PendingReply;
  std::int32_t m_ReadState = ReadStateIdle;
  const Tavroline::LiveObjects::Entry m_LiveEntry{this, Tavroline::LiveObjects::Family::Reader};
};
