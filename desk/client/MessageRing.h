#pragma once

#include <QtGlobal>
#include <array>
#include <atomic>
#include <string_view>

namespace Tavroline {

/**
 * A ring of bytes that holds encoded messages, each with the time of its hand-over.
 *
 * It allocates nothing. The constructor does not touch the bytes, so unused pages of a static object take no
 * memory.
 *
 * The ring has no lock of its own. Callers of functions marked "Under the lock" hold one common lock. One
 * thread, the reader, calls all other functions without that lock. A position is the index of a message's
 * first byte, or end().
 */
class MessageRing {
 public:
  /** The ring has room for this many messages of kUsualBytes each. */
  static constexpr std::size_t kUsualMessages = 16384;
  static constexpr std::size_t kUsualBytes = 512;

  MessageRing() noexcept {}  // NOLINT(modernize-use-equals-default): `= default` would zero the bytes

  /** Whether a message can be appended now. Under the lock. */
  bool fits(std::string_view message) const;

  /** Append a message that fits. @param handedOverAt ms since 1970-01-01 00:00:00 UTC. Under the lock. */
  void append(std::string_view message, qint64 handedOverAt);

  /** Position of the first message, and the position after the last one; equal if the ring is empty. */
  std::size_t first() const { return m_first.load(std::memory_order_relaxed); }
  std::size_t end() const { return m_end.load(std::memory_order_acquire); }

  /** Size of a message with its size field, the time of its hand-over, and the position after it. */
  std::size_t sizeAt(std::size_t position) const;
  qint64 timeAt(std::size_t position) const;
  std::size_t after(std::size_t position) const;

  /** Copy a message. @param target has room for sizeAt() */
  void copy(std::size_t position, char* target) const;

  /** Remove the first message; append() may then overwrite its bytes. */
  void removeFirst() { m_first.store(after(first()), std::memory_order_release); }

  /** Remove the messages from `position` on; their bytes stay readable until append(). Under the lock. */
  void removeFrom(std::size_t position) { m_end.store(position, std::memory_order_relaxed); }

  /** If the ring is empty, start again at its first byte. @return whether it was empty. Under the lock. */
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
