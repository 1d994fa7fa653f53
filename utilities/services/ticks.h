/// A pause and the millisecond counter of the system. All can be called from any thread.
#ifndef UTILITIES_SERVICES_TICKS_H
#define UTILITIES_SERVICES_TICKS_H

#include "utilities/frame/export.h"

/// Pauses the calling thread for at least `milliseconds`; no signal ends it early. 0 only gives up
/// the rest of the time slice, 0xFFFFFFFF never ends.
UTILITIES_EXPORT void BqSleep(unsigned int milliseconds);

/// Milliseconds of the monotonic clock. Wraps to 0 after 2^32 of them, about 49.7 days.
UTILITIES_EXPORT unsigned int GetSystemTickCount();

/// The ticks from `older` to `newer`, right also where the counter wrapped once in between. Where
/// `newer` really is older the result is huge, never negative.
UTILITIES_EXPORT unsigned int CalculateTicksDifference(unsigned int newer, unsigned int older);

#endif
