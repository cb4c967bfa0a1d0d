#pragma once

#include <QByteArray>

#include <functional>
#include <map>
#include <memory>
#include <vector>

/**
 * A disk in memory that SQLite uses in place of the real one, and what a power cut leaves of it.
 *
 * A sync makes the contents of its file durable. A created or deleted name becomes durable when SQLite syncs
 * the folder of a real disk: at the first sync of a new journal, and after a deletion if SQLite asks for it.
 */
struct Disk {
  struct Change {
    int offset = 0;
    QByteArray written;
    bool truncates = false;  ///< at the offset
  };
  struct File {
    QByteArray bytes, synced;
    std::vector<Change> unsynced;
  };
  using Names = std::map<QByteArray, std::shared_ptr<File>>;

  /** @param isKept called for each sector, truncation and name that was not synced. @return the disk after a
   * cut */
  Disk afterCut(const std::function<bool()>& isKept) const;

  /** Called before each write, sync, truncation and deletion; not for temporary files. @param growth bytes
   * that the disk needs for it. @return SQLITE_OK, or the error that the operation fails with */
  std::function<int(int growth)> before = [](int) { return 0; };

  /** SQLite opens its files on this disk as long as the result lives; then on the one before. */
  std::shared_ptr<Disk> mount();

  Names names, durableNames;
};
