#include "Interposed.h"

#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <QUuid>

#include <cerrno>
#include <cstdlib>
#include <new>
#include <random>
#include <utility>

#include "RealFunction.h"
#include "Scheduler.h"

namespace {

Interposed::Accept s_accept;
std::mt19937_64 s_identifiers;
bool s_diskFull = false;

/** @param result of a function that changes what poll() finds unless it fails */
template <typename Result>
Result active(Result result) {
  if (result >= 0) {
    Scheduler::instance().noteActivity();
  }
  return result;
}

}  // namespace

void Interposed::onConnect(Accept accept) {
  s_accept = std::move(accept);
}

void Interposed::seedIdentifiers(std::uint64_t seed) {
  s_identifiers.seed(seed);
}

void Interposed::fillDisk(bool full) {
  s_diskFull = full;
}

// From here on the names are those of the libraries.
#pragma GCC visibility push(default)
// NOLINTBEGIN(readability-identifier-naming)
extern "C" {

int connect(int descriptor, const sockaddr* address, socklen_t length) {
  if (!s_accept || address->sa_family != AF_UNIX) {
    return REAL(connect)(descriptor, address, length);
  }
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends) < 0) {
    return -1;
  }
  dup3(ends[0], descriptor, O_CLOEXEC);
  REAL(close)(ends[0]);
  if (!s_accept(ends[1])) {
    REAL(close)(ends[1]);
    errno = ECONNREFUSED;
    return -1;
  }
  return active(0);
}

ssize_t sendmsg(int descriptor, const msghdr* message, int flags) {
  return active(REAL(sendmsg)(descriptor, message, flags));
}

ssize_t recvmsg(int descriptor, msghdr* message, int flags) {
  return active(REAL(recvmsg)(descriptor, message, flags));
}

ssize_t writev(int descriptor, const iovec* parts, int count) {
  return active(REAL(writev)(descriptor, parts, count));
}

int close(int descriptor) {
  Interposed::forgetTimer(descriptor);
  return active(REAL(close)(descriptor));
}

int eventfd_write(int descriptor, eventfd_t value) {
  const int result = active(REAL(eventfd_write)(descriptor, value));
  Scheduler::switchMaybe();
  return result;
}

ssize_t getrandom(void* buffer, size_t size, unsigned /*flags*/) {
  for (size_t i = 0; i < size; ++i) {
    static_cast<unsigned char*>(buffer)[i] = static_cast<unsigned char>(s_identifiers());
  }
  return static_cast<ssize_t>(size);
}

/** The disk of a run is memory. */
int fdatasync(int /*descriptor*/) {
  return 0;
}

ssize_t pwrite64(int descriptor, const void* bytes, size_t size, off64_t offset) {
  if (s_diskFull) {
    errno = ENOSPC;
    return -1;
  }
  return REAL(pwrite64)(descriptor, bytes, size, offset);
}

#ifndef __SANITIZE_ADDRESS__
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);

void* malloc(size_t size) noexcept {
  return Scheduler::isAllocationFailing() ? nullptr : __libc_malloc(size);
}
void* calloc(size_t count, size_t size) noexcept {
  return Scheduler::isAllocationFailing() ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* memory, size_t size) noexcept {
  return Scheduler::isAllocationFailing() ? nullptr : __libc_realloc(memory, size);
}
#endif

}  // extern "C"

QUuid QUuid::createUuid() {
  QUuid id;
  getrandom(&id, sizeof id, 0);
  id.data3 = static_cast<ushort>((id.data3 & 0x0fffU) | 0x4000U);
  id.data4[0] = static_cast<uchar>((id.data4[0] & 0x3fU) | 0x80U);
  return id;
}

void* operator new(std::size_t size) {
  Scheduler::switchMaybe();
  void* const memory = std::malloc(size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

#ifdef __SANITIZE_ADDRESS__
// The C++ library's own forms call those above, the sanitizer's do not.
void* operator new(std::size_t size, const std::nothrow_t& /*form*/) noexcept {
  Scheduler::switchMaybe();
  return std::malloc(size);
}
void* operator new[](std::size_t size) {
  return operator new(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& form) noexcept {
  return operator new(size, form);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
#endif
// NOLINTEND(readability-identifier-naming)
#pragma GCC visibility pop
