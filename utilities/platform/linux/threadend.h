/// The end of the calling thread, whichever way it came.
#ifndef UTILITIES_PLATFORM_LINUX_THREADEND_H
#define UTILITIES_PLATFORM_LINUX_THREADEND_H

namespace platform {

/// Whether the system calls `EndThread` when the thread ends; it doesn't where it is short of
/// memory.
bool IsThreadEndWatched();

/// Hands on what the calling thread holds and reports its end. Allocates and frees nothing, so that
/// a signal handler can call it.
void EndThread();

/// Ends the calling thread, from a signal handler too: out of all its frames at once where it was
/// started here and has frames of the client, else on the spot.
[[noreturn]] void LeaveThread();

/// Ends it on the spot, without destructors of objects of the thread and without a trace in the C
/// library but its stack, which can be joined.
[[noreturn]] void StopThread();

}  // namespace platform

#endif
