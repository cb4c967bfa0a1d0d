#include "MessageRing.h"

#include <QtEndian>
#include <algorithm>
#include <cstring>

namespace Tavroline {

bool MessageRing::fits(std::string_view message) const {
  const std::size_t first = m_first.load(std::memory_order_acquire);
  const std::size_t end = m_end.load(std::memory_order_relaxed);
  const std::size_t used = end >= first ? end - first : kBytes - first + end;
  // One byte of a full ring stays free, because m_end equals m_first only in an empty ring.
  return kHeader + message.size() < kBytes - used;
}

void MessageRing::append(std::string_view message, qint64 handedOverAt) {
  const std::size_t end = m_end.load(std::memory_order_relaxed);
  const std::size_t body = advanced(end, kHeader);
  write(end, reinterpret_cast<const char*>(&handedOverAt), kHeader);
  write(body, message.data(), message.size());
  m_end.store(advanced(body, message.size()), std::memory_order_release);
}

std::size_t MessageRing::sizeAt(std::size_t position) const {
  quint32 size = 0;
  read(advanced(position, kHeader), reinterpret_cast<char*>(&size), sizeof size);
  return sizeof size + qFromLittleEndian(size);
}

qint64 MessageRing::timeAt(std::size_t position) const {
  qint64 time = 0;
  read(position, reinterpret_cast<char*>(&time), kHeader);
  return time;
}

std::size_t MessageRing::after(std::size_t position) const {
  return advanced(position, kHeader + sizeAt(position));
}

void MessageRing::copy(std::size_t position, char* target) const {
  read(advanced(position, kHeader), target, sizeAt(position));
}

bool MessageRing::rewind() {
  if (first() != m_end.load(std::memory_order_relaxed)) {
    return false;
  }
  m_first.store(0, std::memory_order_relaxed);
  m_end.store(0, std::memory_order_relaxed);
  return true;
}

// In the following functions, the bytes may cross the end of m_bytes and continue at its beginning.

std::size_t MessageRing::advanced(std::size_t position, std::size_t bytes) {
  const std::size_t next = position + bytes;
  return next < kBytes ? next : next - kBytes;
}

void MessageRing::write(std::size_t position, const char* data, std::size_t bytes) {
  const std::size_t straight = std::min(bytes, kBytes - position);
  std::memcpy(&m_bytes[position], data, straight);
  std::memcpy(m_bytes.data(), data + straight, bytes - straight);
}

void MessageRing::read(std::size_t position, char* target, std::size_t bytes) const {
  const std::size_t straight = std::min(bytes, kBytes - position);
  std::memcpy(target, &m_bytes[position], straight);
  std::memcpy(target + straight, m_bytes.data(), bytes - straight);
}

}  // namespace Tavroline
