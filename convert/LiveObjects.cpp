#include "LiveObjects.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>

namespace Tavroline::LiveObjects {

namespace {

/** The address of an object and, in the lowest bits, its family; 0 where there is no object. */
using Place = std::atomic<std::uintptr_t>;
constexpr std::uintptr_t kFamilyBits = 3;

std::uintptr_t addressOf(const void* object) {
  return reinterpret_cast<std::uintptr_t>(object);
}

/** An object is in the bucket of its address; where that is full, in the same bucket of a further table. */
struct Table {
  static constexpr std::size_t kBuckets = 512;
  using Bucket = Place[8];

  Bucket buckets[kBuckets] = {};
  std::atomic<Table*> further{nullptr};

  ~Table() { delete further.load(); }

  Bucket& bucketOf(std::uintptr_t address) {
    // Multiplying spreads addresses that differ by the size of an object only.
    constexpr std::uint32_t kSpread = 2654435769u;
    return buckets[(static_cast<std::uint32_t>(address >> 3u) * kSpread >> 16u) % kBuckets];
  }

  Table& furtherOrNew() {
    Table* table = further.load(std::memory_order_acquire);
    if (table == nullptr) {
      auto added = std::make_unique<Table>();
      if (further.compare_exchange_strong(table, added.get())) {
        table = added.release();
      }
    }
    return *table;
  }
};

alignas(64) Table s_table;  // a bucket is one cache line

constexpr std::size_t kRemembered = 64;
std::atomic<std::uintptr_t> s_closed[kRemembered];
std::atomic<std::size_t> s_nextClosed;

Place& add(std::uintptr_t address, Family family) {
  for (Table* table = &s_table;; table = &table->furtherOrNew()) {
    for (Place& place : table->bucketOf(address)) {
      std::uintptr_t free = 0;
      if (place.compare_exchange_strong(free, address | static_cast<std::uintptr_t>(family))) {
        return place;
      }
    }
  }
}

}  // namespace

Entry::Entry(const void* object, Family family) : m_place(add(addressOf(object), family)) {
  for (auto& closed : s_closed) {
    std::uintptr_t address = addressOf(object);
    closed.compare_exchange_strong(address, 0);
  }
}

Entry::~Entry() {
  s_closed[s_nextClosed++ % kRemembered] = m_place & ~kFamilyBits;
  m_place.store(0, std::memory_order_release);
}

Family family(const void* object) noexcept {
  const std::uintptr_t address = addressOf(object);
  for (Table* table = &s_table; table != nullptr; table = table->further.load(std::memory_order_acquire)) {
    for (const Place& place : table->bucketOf(address)) {
      const std::uintptr_t found = place.load(std::memory_order_acquire);
      if ((found & ~kFamilyBits) == address) {
        return Family(found & kFamilyBits);
      }
    }
  }
  return Family::None;
}

bool wasClosed(const void* object) noexcept {
  return std::find(std::begin(s_closed), std::end(s_closed), addressOf(object)) != std::end(s_closed);
}

}  // namespace Tavroline::LiveObjects
