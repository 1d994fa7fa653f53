/// What a wait does when its thread is asked to stop, and what a mutex needs of its thread's end.
/// Declared here, where it is used, and implemented by the threads' folder, which stands above this
/// one.
#ifndef UTILITIES_PLATFORM_LINUX_SYNC_STOPPING_H
#define UTILITIES_PLATFORM_LINUX_SYNC_STOPPING_H

#include <cstdint>

#include "utilities/platform/linux/sync/current.h"
#include "utilities/platform/waitable.h"

namespace platform {

/// Whether the calling thread agrees to stop now: it is asked to, this is its only deferral, and
/// none of its frames is one of the C or C++ library. After true the caller leaves its queue, hands
/// on what it was woken with, and calls `Stop`; it must not sleep before.
bool AgreeToStop();

/// Stays here while the thread is suspended. False if it has been killed: the caller returns at
/// once, and the thread ends with its deferral.
bool Stop();

/// Makes sure that what the calling thread holds is handed on when it ends. Returns its id.
std::uint32_t WatchThreadEnd();

/// The calling thread's id for holding mutexes.
inline std::uint32_t LockerId() { return current.locker != 0 ? current.locker : WatchThreadEnd(); }

/// The operations of `waitable.h` on the handle of a thread.
std::uint32_t WaitForThreadHandle(Handle thread, std::uint32_t milliseconds);
/// Gives up the reference that the closed handle had.
void ReleaseThread(ThreadRecord& record);

}  // namespace platform

#endif
