#pragma once

/**
 * The monotonic clock of this executable, which Qt and the standard library follow: it stands still and is
 * moved by hand, so that bounds in milliseconds are tested exactly.
 */
void advanceMonotonicClock(int milliseconds);
