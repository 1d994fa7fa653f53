/// Priorities of threads.
#ifndef UTILITIES_PLATFORM_THREADPRIORITY_H
#define UTILITIES_PLATFORM_THREADPRIORITY_H

#include "utilities/platform/waitable.h"

namespace platform {

/// The priority of no thread.
inline constexpr int THREAD_PRIORITY_ERROR_RETURN = 0x7FFFFFFF;

/// Sets one of the seven priorities -15, -2, -1, 0, 1, 2 and 15, as nice values of the thread: the
/// main thread's and 19, 10, 5, 0, -5, -10 or -20 more. False for another number, for a thread that
/// has ended, and where the process's rights don't allow it. A thread starts with 0, or with its
/// creator's where they don't allow that.
bool SetThreadPriority(Handle thread, int priority);

/// `THREAD_PRIORITY_ERROR_RETURN` for a handle that isn't an open thread's.
int GetThreadPriority(Handle thread);

}  // namespace platform

#endif
