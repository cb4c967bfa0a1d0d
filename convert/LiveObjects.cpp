#include "LiveObjects.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <mutex>

namespace Tavroline::LiveObjects {

/** Buckets of chained entries. A static object of this type needs no constructor and no destructor to run. */
struct Registry {
  static constexpr std::size_t kBuckets = 1024;
  static constexpr std::size_t kRemembered = 64;

  std::mutex mutex;
  Entry* buckets[kBuckets] = {};
  const void* closed[kRemembered] = {};
  std::size_t nextClosed = 0;

  /** The pointer to the entry of that object, or to the end of its bucket's chain. */
  Entry** find(const void* object) {
    // Multiplying spreads addresses that differ by the size of an object only.
    constexpr std::uint32_t kSpread = 2654435769u;
    const auto address = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(object) >> 3u);
    Entry** place = &buckets[(address * kSpread >> 16u) % kBuckets];
    while (*place != nullptr && (*place)->m_object != object) {
      place = &(*place)->m_next;
    }
    return place;
  }

  void add(Entry* entry) {
    const std::lock_guard<std::mutex> lock(mutex);
    *find(entry->m_object) = entry;
    std::replace(std::begin(closed), std::end(closed), entry->m_object, static_cast<const void*>(nullptr));
  }

  void remove(const Entry* entry) {
    const std::lock_guard<std::mutex> lock(mutex);
    *find(entry->m_object) = entry->m_next;
    closed[nextClosed] = entry->m_object;
    nextClosed = (nextClosed + 1) % kRemembered;
  }

  Family family(const void* object) {
    const std::lock_guard<std::mutex> lock(mutex);
    const Entry* const entry = *find(object);
    return entry == nullptr ? Family::None : entry->m_family;
  }
};

namespace {
Registry s_registry;
}

Entry::Entry(const void* object, Family family) noexcept : m_object(object), m_family(family) {
  s_registry.add(this);
}

Entry::~Entry() {
  s_registry.remove(this);
}

Family family(const void* object) noexcept {
  return s_registry.family(object);
}

bool wasClosed(const void* object) noexcept {
  const std::lock_guard<std::mutex> lock(s_registry.mutex);
  return std::find(std::begin(s_registry.closed), std::end(s_registry.closed), object) !=
         std::end(s_registry.closed);
}

}  // namespace Tavroline::LiveObjects
