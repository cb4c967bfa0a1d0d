#pragma once

#include <poll.h>
#include <time.h>

#include <cstdint>
#include <functional>

/**
 * Functions of the C library, of Qt and of C++ that this program defines itself, so that every library in the
 * process uses them: the clock, waiting, threads, connecting to the bus, random numbers, and allocation.
 */
namespace Interposed {

/** The library's own poll(), which does not wait. */
int realPoll(pollfd* files, nfds_t count);

/** Takes the other end of a connection to the bus. Returns false if no bus
 * runs. */
using Accept = std::function<bool(int descriptor)>;

/** From now on `accept` gets each connection to a Unix socket; null: they go where they lead. */
void onConnect(Accept accept);

/** What random numbers and identifiers are drawn from. */
void seedIdentifiers(std::uint64_t seed);

/** From now on no file can be written: the disk is full. */
void fillDisk(bool full);

/** Nanoseconds of the machine's own clock. */
std::int64_t machineTime();

std::int64_t nanoseconds(const timespec& time);
/** When a time from now is over on the virtual clock; never without one. */
std::int64_t dueIn(const timespec* time);

/** A closed descriptor may have been a timer. */
void forgetTimer(int descriptor);

}  // namespace Interposed
