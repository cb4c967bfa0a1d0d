#include "TavrolineEventlistRead.h"

#include "EntryFields.h"
#include "ReaderClass.h"
#include "Synchronization.h"

namespace {

constexpr ReaderClass::Names kNames = {
    "TavrolineEventlistRead",
    "loadCompleteEventlist",
    "convertEventlist",
    "virtual int16_t TavrolineEventlistRead::readListAsynchron(uint16_t)",
    "static void TavrolineEventlistRead::pollDBusSignals()",
    "int16_t TavrolineEventlistRead::convertEventlist(int&, stEventlistEntryType*, int) const",
    "virtual TavrolineEventlistRead::~TavrolineEventlistRead()",
};

void fillEntry(ListEntry& entry, stEventlistEntryType& target) {
  target.uliEventlistId = EntryFields::eventlistId(entry);
  EntryFields::copyCommonFields(entry, target);
  EntryFields::copyText(entry, ListColumns::User, target.wsUser, false);
}

}  // namespace

TavrolineEventlistRead::TavrolineEventlistRead() {
  ReaderClass::enlist(sm_Mutex, sm_AccessEventlistInstancePointers, this);
}

TavrolineEventlistRead::~TavrolineEventlistRead() {
  ReaderClass::delist(sm_Mutex, sm_AccessEventlistInstancePointers, this, m_ReadState, sm_bDBusInterfaceReady,
                      kNames);
}

void TavrolineEventlistRead::pollDBusSignals() {
  const Tavroline::LockGuard<QMutex> lock(sm_Mutex);
  const bool changed = sm_EventlistHandlerDBusConnectorRead.changedFlagEventlist();
  ReaderClass::forEach(sm_AccessEventlistInstancePointers, kNames, [&](TavrolineEventlistRead& reader) {
    if (changed) {
      Tavroline::SharedFlag::store(reader.m_bListChanged, true);
    }
  });
}

std::int16_t TavrolineEventlistRead::readListAsynchron(std::uint16_t n) {
  DBusPendingReply::SharedPointer reply;
  {
    const Tavroline::LockGuard<QMutex> lock(sm_Mutex);
    const QStringList none;
    reply = n == 0 ? sm_EventlistHandlerDBusConnectorRead.getCompleteEventlist(m_sLanguage)
                   : sm_EventlistHandlerDBusConnectorRead.getPartOfEventlist(
                         m_sLanguage, none, none, none, none, QDateTime(), QDateTime(), none, n);
  }
  return ReaderClass::adoptReply(reply, m_PendingReply, kNames);
}

std::int16_t TavrolineEventlistRead::loadCompleteEventlist(std::uint16_t n) {
  const Tavroline::LockGuard<QMutex> lock(sm_Mutex);
  return loadCompleteList(sm_bDBusInterfaceReady, sm_LoadListTimeoutTimer, n);
}

std::int16_t TavrolineEventlistRead::convertEventlist(int& count, stEventlistEntryType* entries,
                                                      int capacity) const {
  return ReaderClass::copyEntries(*this, sm_Mutex, m_ListData, count, entries, capacity, kNames, fillEntry);
}
