#pragma once

#include <atomic>
#include <cstdint>

/**
 * Registry of the objects behind open handles, so that a stale or foreign handle is refused before it is
 * used. Knows whether an address is alive and its family, not its class.
 *
 * Without a lock, so that no task waits for one of a lower priority. Its memory for up to 4,096 objects is
 * constant-initialised; it takes more if their addresses need it, and keeps that until unload. [any-thread]
 */
namespace Tavroline::LiveObjects {

/** The class of which a registered address is an object, or a base of it. */
enum class Family : std::uintptr_t { None, Reader, AlarmHandler };

/** Member of a registered object: alive from construction to destruction. */
class Entry {
 public:
  /**
   * @param object the address that serves as the handle, a multiple of 4
   * @throws std::bad_alloc
   */
  Entry(const void* object, Family family);
  ~Entry();
  Entry(const Entry&) = delete;
  Entry& operator=(const Entry&) = delete;

 private:
  std::atomic<std::uintptr_t>& m_place;
};

/** The family of a live object, None for any other address. */
Family family(const void* object) noexcept;

/** Whether the address is one of the last 64 closed handles and has not been reused. */
bool wasClosed(const void* object) noexcept;

}  // namespace Tavroline::LiveObjects
