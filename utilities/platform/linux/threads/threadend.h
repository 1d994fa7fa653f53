/// The end of the calling thread, whichever way it came.
#ifndef UTILITIES_PLATFORM_LINUX_THREADS_THREADEND_H
#define UTILITIES_PLATFORM_LINUX_THREADS_THREADEND_H

namespace platform {

/// Whether the system calls `ReportExit` when the thread ends; it doesn't where it is short of
/// memory.
bool IsThreadEndWatched();

/// Hands on what the calling thread holds and reports that it exits. Allocates and frees nothing,
/// so that a signal handler can call it.
void ReportExit();

/// Ends the calling thread, from a signal handler too: out of all its frames at once where it was
/// started here and has frames of the client's, otherwise on the spot.
[[noreturn]] void LeaveThread();

/// Ends it on the spot by the kernel's exit, without the C library's: that would wait for locks
/// which the stopped frames may hold. No thread-local object is destroyed.
[[noreturn]] void ExitOnTheSpot();

}  // namespace platform

#endif
