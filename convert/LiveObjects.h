#pragma once

/**
 * Registry of the objects behind open handles, so that a stale or foreign handle is refused before it is
 * used. Knows whether an address is alive and its family, not its class.
 *
 * Constant-initialised and without allocation: the entry is a member of the object. One lock; no other lock
 * is taken under it. [any-thread]
 */
namespace Tavroline::LiveObjects {

/** The class of which a registered address is an object, or a base of it. */
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

/** Whether the address is one of the last 64 closed handles and has not been reused. */
bool wasClosed(const void* object) noexcept;

}  // namespace Tavroline::LiveObjects
