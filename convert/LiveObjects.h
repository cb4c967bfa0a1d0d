#pragma once

/**
 * The objects behind handles that exist at this moment, so that a stale or foreign handle is found out before
 * it is used. Says whether an address is alive and which family it belongs to, not which class; keeps nothing
 * else.
 *
 * Constant-initialised and without allocation: an object brings its own entry along. One leaf lock, held for
 * a walk of a few entries. [any-thread]
 */
namespace Tavroline::LiveObjects {

/** What registered the object, and so what its address may be taken for. */
enum class Family { None, Reader, AlarmHandler };

/** Member of a registered object: alive from construction to destruction. */
class Entry {
 public:
  /** @param object the address that serves as the handle */
  Entry(const void* object, Family family) noexcept;
  ~Entry();
  Entry(const Entry&) = delete;
  Entry& operator=(const Entry&) = delete;

 private:
  friend struct Registry;
  const void* m_object;
  Family m_family;
  Entry* m_next = nullptr;
};

/** The family of a live object, None for any other address. */
Family family(const void* object) noexcept;

/** Whether the address is one of the last 64 that went, and not alive again. */
bool wasClosed(const void* object) noexcept;

}  // namespace Tavroline::LiveObjects
