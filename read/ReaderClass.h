#pragma once

#include <QDebug>
#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QMessageLogger>
#include <QMutex>
#include <QStringBuilder>

#include <cstddef>
#include <cstdint>

#include "DBusPendingReply.h"
#include "RuntimeLog.h"
#include "Synchronization.h"
#include "TavrolineReadBaseClass.h"

/**
 * What the reader classes do alike. Each reader class has its own list of instances, mutex, interface flag
 * and names; it passes them in, and nothing here holds state.
 */
namespace ReaderClass {

/** How a reader class appears in messages; all literals. */
struct Names {
  const char* file;
  const char* loadOperation;  ///< names the request in messages, whichever function writes them
  const char* convertOperation;
  const char* readListFunction;  ///< full signatures
  const char* pollFunction;
  const char* convertFunction;
  const char* destructorFunction;
};

/** Log "<operation>: <text>" in the name of `function`. */
inline void report(const Names& names, const char* function, const char* operation, QLatin1String text) {
  Tavroline::RuntimeLog::write(names.file, function, QLatin1String(operation) % QLatin1String(": ") % text);
}

template <typename Reader>
void enlist(QMutex& mutex, QList<Reader*>& instances, Reader* reader) {
  const Tavroline::LockGuard<QMutex> lock(mutex);
  instances.append(reader);
}

/** Take a reader out of its class, giving back the interface when its own request is outstanding. */
template <typename Reader>
void delist(QMutex& mutex, QList<Reader*>& instances, Reader* reader, const std::int32_t& readState,
            bool& interfaceReady, const Names& names) noexcept {
  Tavroline::reportExceptions(names.file, names.destructorFunction, [&] {
    int removed = 0;
    {
      const Tavroline::LockGuard<QMutex> lock(mutex);
      if (readState == TavrolineReadBaseClass::ReadStatePending) {
        interfaceReady = true;
      }
      removed = instances.removeAll(reader);
    }
    if (removed != 1) {
      QMessageLogger(names.file, __LINE__, names.destructorFunction).warning()
          << Tavroline::kComponentName << "Not one entry removed. Nr of removed entrys:" << removed;
    }
  });
}

/** Visit every reader in order of construction, under the class mutex that the caller holds. */
template <typename Reader, typename Visit>
void forEach(const QList<Reader*>& instances, const Names& names, Visit visit) {
  for (Reader* const reader : instances) {
    if (reader == nullptr) {
      Tavroline::RuntimeLog::write(names.file, names.pollFunction, QStringLiteral("Nullpointer access"));
    } else {
      visit(*reader);
    }
  }
}

/** Take over the reply of a request that was just issued, unless there is none or it has failed already. */
std::int16_t adoptReply(const DBusPendingReply::SharedPointer& reply,
                        DBusPendingReply::SharedPointer& pendingReply, const Names& names);

/** Have a slot on its way into the cache before it is written: arrays of long lists are larger than any. */
template <typename Entry>
void fetch(Entry& slot) {
  constexpr std::size_t kCacheLine = 64;
  const char* const bytes = reinterpret_cast<const char*>(&slot);
  for (std::size_t offset = 0; offset < sizeof(Entry); offset += kCacheLine) {
    __builtin_prefetch(bytes + offset, 1);
  }
}

/**
 * Copy what passes the filter: `fill(entry, slot)` per accepted entry, in list order, until the array is
 * full. The list is shared under the lock and worked on outside it. A slot counts once it is filled.
 */
template <typename Entry, typename Fill>
std::int16_t copyEntries(const TavrolineFilter& filter, QMutex& mutex, const QJsonArray& listData, int& count,
                         Entry* entries, int capacity, const Names& names, Fill fill) {
  if (entries == nullptr) {
    report(names, names.convertFunction, names.convertOperation,
           QLatin1String("DBusPendingReply nullpointer"));
    return ResultError;
  }
  count = 0;
  QJsonArray list;
  {
    const Tavroline::LockGuard<QMutex> lock(mutex);
    list = listData;
  }
  ListCopy copy = filter.listCopy();
  // The caller's count may lie anywhere, also inside the array: it is written and never read.
  int filled = 0;
  for (int index = 0; filled < capacity && index < list.size(); ++index) {
    fetch(entries[filled]);
    const QJsonObject object = list.at(index).toObject();
    ListEntry entry(object, copy);
    if (filter.passesCriteria(entry) && filter.additionalFilterCheck(object)) {
      fill(entry, entries[filled]);
      count = ++filled;
    }
  }
  return ResultDone;
}

}  // namespace ReaderClass
