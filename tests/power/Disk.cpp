#include "Disk.h"

#include <sqlite3.h>

#include <cstring>

namespace {

constexpr int kSector = 512;  // bytes that a disk writes whole

Disk* s_mounted = nullptr;

void apply(const Disk::Change& change, QByteArray& bytes, const std::function<bool()>& isKept) {
  if (change.truncates && isKept()) {
    bytes.truncate(change.offset);
  }
  const int size = change.written.size();
  for (int start = 0, end = 0; start < size; start = end) {
    const int offset = change.offset + start;
    end = qMin(size, start + kSector - offset % kSector);
    if (isKept()) {
      bytes.append(qMax(0, change.offset + end - bytes.size()), '\0');
      bytes.replace(offset, end - start, change.written.constData() + start, end - start);
    }
  }
}

/** An open file of SQLite. */
struct Handle : sqlite3_file {
  Disk* disk;
  std::shared_ptr<Disk::File> file;
  bool syncsFolder;  ///< at its next sync

  static Handle& of(sqlite3_file* file) { return *static_cast<Handle*>(file); }

  int change(const Disk::Change& change) {
    const int error = disk->before(qMax(change.offset + change.written.size() - file->bytes.size(), 0));
    if (error == SQLITE_OK) {
      apply(change, file->bytes, [] { return true; });
      file->unsynced.push_back(change);
    }
    return error;
  }
};

int close(sqlite3_file* file) {
  Handle::of(file).~Handle();
  return SQLITE_OK;
}

int read(sqlite3_file* file, void* to, int size, sqlite3_int64 offset) {
  const QByteArray found = Handle::of(file).file->bytes.mid(static_cast<int>(offset), size);
  std::memset(to, 0, size);
  std::memcpy(to, found.constData(), found.size());
  return found.size() == size ? SQLITE_OK : SQLITE_IOERR_SHORT_READ;
}

int write(sqlite3_file* file, const void* from, int size, sqlite3_int64 offset) {
  return Handle::of(file).change({static_cast<int>(offset), {static_cast<const char*>(from), size}, false});
}

int truncate(sqlite3_file* file, sqlite3_int64 size) {
  return Handle::of(file).change({static_cast<int>(size), {}, true});
}

int sync(sqlite3_file* file, int /*flags*/) {
  Handle& handle = Handle::of(file);
  const int error = handle.disk->before(0);
  if (error == SQLITE_OK) {
    handle.file->synced = handle.file->bytes;
    handle.file->unsynced.clear();
    if (std::exchange(handle.syncsFolder, false)) {
      handle.disk->durableNames = handle.disk->names;
    }
  }
  return error;
}

int size(sqlite3_file* file, sqlite3_int64* size) {
  *size = Handle::of(file).file->bytes.size();
  return SQLITE_OK;
}

int open(sqlite3_vfs* /*vfs*/, const char* name, sqlite3_file* memory, int flags, int* /*outFlags*/) {
  const auto lock = [](sqlite3_file*, int) { return SQLITE_OK; };
  const auto isLocked = [](sqlite3_file*, int* locked) { return *locked = 0; };
  const auto control = [](sqlite3_file*, int, void*) { return SQLITE_NOTFOUND; };
  const auto properties = [](sqlite3_file*) { return SQLITE_IOCAP_POWERSAFE_OVERWRITE; };
  static const sqlite3_io_methods kMethods{1,       close,   read,     write,   truncate, sync,       size,
                                           lock,    lock,    isLocked, control, nullptr,  properties, nullptr,
                                           nullptr, nullptr, nullptr,  nullptr, nullptr};
  static Disk temporary;
  Disk* const disk = name != nullptr ? s_mounted : &temporary;
  auto& file = disk->names[name];
  const bool isNew = file == nullptr || name == nullptr;
  file = isNew ? std::make_shared<Disk::File>() : file;
  const bool isJournal = (flags & (SQLITE_OPEN_MAIN_JOURNAL | SQLITE_OPEN_WAL)) != 0;
  new (memory) Handle{{&kMethods}, disk, file, isNew && isJournal};
  return SQLITE_OK;
}

int remove(sqlite3_vfs* /*vfs*/, const char* name, int syncsFolder) {
  const int error = s_mounted->before(0);
  if (error == SQLITE_OK) {
    s_mounted->names.erase(name);
    s_mounted->durableNames = syncsFolder != 0 ? s_mounted->names : s_mounted->durableNames;
  }
  return error;
}

int access(sqlite3_vfs* /*vfs*/, const char* name, int /*flags*/, int* exists) {
  Disk::Names& names = s_mounted->names;
  *exists = names.count(name) > 0 && !names[name]->bytes.isEmpty() ? 1 : 0;
  return SQLITE_OK;
}

}  // namespace

Disk Disk::afterCut(const std::function<bool()>& isKept) const {
  Names all = names;
  all.insert(durableNames.begin(), durableNames.end());
  Disk cut;
  for (const auto& [name, unused] : all) {
    const Names& chosen = isKept() ? names : durableNames;
    const auto found = chosen.find(name);
    if (found != chosen.end()) {
      QByteArray bytes = found->second->synced;
      for (const Change& change : found->second->unsynced) {
        apply(change, bytes, isKept);
      }
      cut.names[name] = std::make_shared<File>(File{bytes, bytes, {}});
    }
  }
  cut.durableNames = cut.names;
  return cut;
}

std::shared_ptr<Disk> Disk::mount() {
  static sqlite3_vfs vfs = *sqlite3_vfs_find("unix");  // its time, randomness and paths are used
  vfs.zName = "disk";
  vfs.szOsFile = sizeof(Handle);
  vfs.xOpen = open;
  vfs.xDelete = remove;
  vfs.xAccess = access;
  sqlite3_vfs_register(&vfs, 1);
  return {std::exchange(s_mounted, this), [](Disk* last) { s_mounted = last; }};
}
