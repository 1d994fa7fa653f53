/// A pause and the millisecond counter of the system. All can be called from any thread.
#ifndef UTILITIES_SERVICES_TICKS_H
#define UTILITIES_SERVICES_TICKS_H

#include "utilities/frame/export.h"

/// Pauses the calling thread for at least `milliseconds`; no signal ends the pause early. 0 only
/// gives up the rest of the thread's time slice, 0xFFFFFFFF pauses for ever.
UTILITIES_EXPORT void BqSleep(unsigned int milliseconds);

/// The count of milliseconds of the system's monotonic clock. It wraps to 0 after 2^32 of them,
/// about 49.7 days.
UTILITIES_EXPORT unsigned int GetSystemTickCount();

/// The ticks from `older` to `newer`, two counts of `GetSystemTickCount`. Right also where the
/// count wrapped once in between. If `newer` was counted before `older`, the result is huge.
UTILITIES_EXPORT unsigned int CalculateTicksDifference(unsigned int newer, unsigned int older);

#endif
