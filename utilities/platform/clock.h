/// Elapsed time and pauses.
#ifndef UTILITIES_PLATFORM_CLOCK_H
#define UTILITIES_PLATFORM_CLOCK_H

#include <cstdint>

namespace platform {

/// Milliseconds since the process started, on the monotonic clock; time spent blocked counts. A
/// few milliseconds coarse, and cheap. Wraps after 49.7 days. The start is looked up by the first
/// call (from /proc; where that fails, the first call is the start). The child of a fork goes on
/// with its parent's start, so that times that were stored before the fork stay comparable.
std::uint32_t clock();

/// Milliseconds of the monotonic clock, to the millisecond. Wraps after 49.7 days.
std::uint32_t GetTickCount();

/// Pauses the calling thread for at least `milliseconds`; no signal ends the pause early. 0 gives
/// up the rest of the time slice, 0xFFFFFFFF pauses for ever.
void Sleep(std::uint32_t milliseconds);

}  // namespace platform

#endif
