#include "ReferenceCalls.h"

#include <QMutex>

#include <array>
#include <atomic>
#include <cstdint>
#include <typeinfo>

namespace {

struct Reader : ReferenceObject {};

/** A generation or a flag that the hub publishes, and the value last read. */
struct Published {
  std::atomic<std::uint64_t> now{0};
  std::uint64_t seen = 0;
  bool changed() {
    const std::uint64_t value = now.load(std::memory_order_acquire);
    if (value == seen) {
      return false;
    }
    seen = value;
    return true;
  }
};

}  // namespace

void ReferenceRegistry::add(ReferenceObject* object) {
  m_objects[object] = object;
}

void ReferenceRegistry::query(haslistchanged_struct* parameters) {
  if (parameters == nullptr || parameters->hReadHandle == nullptr) {
    return;
  }
  ReferenceObject* object = nullptr;
  {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto place = m_objects.find(parameters->hReadHandle);
    if (place == m_objects.end()) {
      return;
    }
    object = place->second;
  }
  if (typeid(*object) == typeid(ReferenceObject)) {
    parameters->xListChanged = static_cast<RTS_IEC_BOOL>(__atomic_load_n(&object->flag, __ATOMIC_RELAXED));
  }
}

struct ReferenceHook::Impl {
  template <std::size_t Flags>
  struct List {
    QMutex mutex{QMutex::Recursive};
    std::array<Published, Flags> flags;
    QList<Reader*> readers;

    void poll() {
      mutex.lock();
      bool changed = false;
      for (Published& flag : flags) {
        changed = flag.changed() || changed;
      }
      for (Reader* const reader : readers) {
        if (reader != nullptr && changed) {
          __atomic_store_n(&reader->flag, true, __ATOMIC_RELAXED);
        }
      }
      mutex.unlock();
    }
  };
  List<6> alarms;
  List<1> events;
};

ReferenceHook::ReferenceHook(int readers) : m_impl(new Impl) {
  for (int i = 0; i < readers; ++i) {
    m_impl->alarms.readers.append(new Reader);
    m_impl->events.readers.append(new Reader);
  }
}

ReferenceHook::~ReferenceHook() {
  qDeleteAll(m_impl->alarms.readers);
  qDeleteAll(m_impl->events.readers);
  delete m_impl;
}

void ReferenceHook::run() {
  m_impl->alarms.poll();
  m_impl->events.poll();
}
