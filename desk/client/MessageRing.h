#pragma once

#include <QtGlobal>
#include <array>
#include <atomic>
#include <string_view>

namespace Tavroline {

/**
 * A ring of bytes that holds encoded messages, each with the time of its hand-over. A position is the index
 * of the byte at which a message begins, or end().
 *
 * The ring allocates nothing. The constructor does not write to the bytes, so unused pages of a static object
 * take no memory.
 *
 * Several threads may append: they hold MessageQueue's mutex when they call the functions marked "Under the
 * mutex". One thread, the reader, may call all other functions without the mutex.
 */
class MessageRing {
 public:
  /** The ring has room for kUsualMessages messages of kUsualBytes bytes each. */
  static constexpr std::size_t kUsualMessages = 16384;
  static constexpr std::size_t kUsualBytes = 512;

  MessageRing() noexcept {}  // NOLINT(modernize-use-equals-default): `= default` would zero the bytes

  /** Whether the ring has room for a message now. Under the mutex. */
  bool fits(std::string_view message) const;

  /** Append a message for which fits() is true. @param handedOverAt ms since 1970-01-01 00:00:00 UTC. Under
   * the mutex. */
  void append(std::string_view message, qint64 handedOverAt);

  /** Position of the first message, and the position after the last message. The two positions are equal if
   * the ring is empty. */
  std::size_t first() const { return m_first.load(std::memory_order_relaxed); }
  std::size_t end() const { return m_end.load(std::memory_order_acquire); }

  /** Return for the message at `position`: the size in bytes; the time of hand-over in ms since 1970-01-01
   * 00:00:00 UTC; the position after the message. */
  std::size_t sizeAt(std::size_t position) const;
  qint64 timeAt(std::size_t position) const;
  std::size_t after(std::size_t position) const;

  /** Copy the message at `position`. @param target has room for sizeAt(position) bytes */
  void copy(std::size_t position, char* target) const;

  /** Remove the first message. append() may then overwrite its bytes. */
  void removeFirst() { m_first.store(after(first()), std::memory_order_release); }

  /** Remove the message at `position` and all later messages. The removed messages can be read until append()
   * overwrites them.
   * Under the mutex. */
  void removeFrom(std::size_t position) { m_end.store(position, std::memory_order_relaxed); }

  /** Let an empty ring start again at its first byte. @return whether the ring is empty. Under the mutex. */
  bool rewind();

 private:
  static constexpr std::size_t kHeader = sizeof(qint64);
  static constexpr std::size_t kBytes = kUsualMessages * (kHeader + kUsualBytes) + 1;

  static std::size_t advanced(std::size_t position, std::size_t bytes);
  void write(std::size_t position, const char* data, std::size_t bytes);
  void read(std::size_t position, char* target, std::size_t bytes) const;

  std::atomic<std::size_t> m_first{0};
  std::atomic<std::size_t> m_end{0};
  std::array<char, kBytes> m_bytes;
};

}  // namespace Tavroline
