#include "TavrolineEventlistRead.h"

#include "ListEntry.h"
#include "ReaderGroup.h"
#include "Synchronization.h"

using namespace Tavroline;

namespace {

constexpr ReaderTexts kTexts = {
    "TavrolineEventlistRead",
    "loadCompleteEventlist",
    "convertEventlist",
    "virtual int16_t TavrolineEventlistRead::readListAsynchron(uint16_t)",
    "static void TavrolineEventlistRead::pollDBusSignals()",
    "int16_t TavrolineEventlistRead::convertEventlist(int&, stEventlistEntryType*, int) const",
    "virtual TavrolineEventlistRead::~TavrolineEventlistRead()",
};

void fillEntry(ListEntry& entry, stEventlistEntryType& target) {
  target.uliEventlistId = entry.eventlistId();
  copyCommonFields(entry, target);
  copyText(entry, ListColumns::User, target.wsUser, false);
}

}  // namespace

ReaderGroup<TavrolineEventlistRead> TavrolineEventlistRead::group() {
  return {sm_AccessEventlistInstancePointers, sm_Mutex, sm_bDBusInterfaceReady, kTexts};
}

TavrolineEventlistRead::TavrolineEventlistRead() {
  group().addReader(this);
}

TavrolineEventlistRead::~TavrolineEventlistRead() {
  group().removeReader(this, m_ReadState);
}

void TavrolineEventlistRead::pollDBusSignals() {
  const LockGuard<QMutex> lock(sm_Mutex);
  const bool changed = sm_EventlistHandlerDBusConnectorRead.changedFlagEventlist();
  group().forEach([&](TavrolineEventlistRead& reader) {
    if (changed) {
      SharedFlag::store(reader.m_bListChanged, true);
    }
  });
}

std::int16_t TavrolineEventlistRead::readListAsynchron(std::uint16_t n) {
  DBusPendingReply::SharedPointer reply;
  {
    const LockGuard<QMutex> lock(sm_Mutex);
    const QStringList none;
    reply = n == 0 ? sm_EventlistHandlerDBusConnectorRead.getCompleteEventlist(m_sLanguage)
                   : sm_EventlistHandlerDBusConnectorRead.getPartOfEventlist(
                         m_sLanguage, none, none, none, none, QDateTime(), QDateTime(), none, n);
  }
  return group().keepReply(reply, m_PendingReply);
}

std::int16_t TavrolineEventlistRead::loadCompleteEventlist(std::uint16_t n) {
  const LockGuard<QMutex> lock(sm_Mutex);
  return loadCompleteList(sm_bDBusInterfaceReady, sm_LoadListTimeoutTimer, n);
}

std::int16_t TavrolineEventlistRead::convertEventlist(int& count, stEventlistEntryType* entries,
                                                      int capacity) const {
  return group().copyEntries(*this, m_ListData, count, entries, capacity, fillEntry);
}
