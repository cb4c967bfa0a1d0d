#pragma once

#include <QElapsedTimer>
#include <QJsonArray>
#include <QString>

#include <cstdint>

#include "DBusPendingReply.h"
#include "LiveObjects.h"
#include "Synchronization.h"
#include "TavrolineFilter.h"

/** Results of the reading operations, as they go into the iResult fields. */
enum ReadResult : std::int16_t { ResultDone = 0, ResultBusy = 1, ResultError = 2 };

/**
 * What every read handle has beside its filter: language, list-changed flag, the last loaded list, and the
 * protocol that loads a list one step per call without ever waiting. Does not know which list it reads: a
 * derived class issues the request and owns the state that its readers share. Takes no lock of its own.
 */
class TavrolineReadBaseClass : public TavrolineFilter {
 public:
  /** Whether this reader has a request of its own outstanding. */
  enum ReadState : std::int32_t { ReadStateIdle = 0, ReadStatePending = 1 };

  TavrolineReadBaseClass() = default;
  ~TavrolineReadBaseClass() override;

  /** Language of the next request; empty is the service's default. [plc-task] */
  void setLanguage(const QString& language);

  /** Whether the service has reported a change since construction or resetListChanged(). [plc-task] */
  bool hasListChanged() const { return Tavroline::SharedFlag::load(m_bListChanged); }
  void resetListChanged();

  /**
   * Issue the list request and keep its reply; to be overridden, this one reports that it was not.
   * @param n number of newest entries, 0 for all
   * @return ResultBusy once issued, otherwise ResultError. [plc-task]
   */
  virtual std::int16_t readListAsynchron(std::uint16_t n);

  /**
   * Ask the reply for its state and, when it has arrived, parse and store the list and release the reply.
   * Text that is no list empties the list; a failed reply keeps it.
   * @return ResultDone, ResultBusy or ResultError. [plc-task] under the class mutex
   */
  std::int16_t getStatusReadListAsynchron(DBusPendingReply::SharedPointer& reply);

  /**
   * One step of loading: wait for another reader's request, issue, or ask for the reply.
   * @param bInterfaceReady false while one reader of the class has a request outstanding
   * @param timer time since a load call that was allowed to use the interface; beyond 5000 ms a waiting
   * reader takes the interface over
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
