/// Killing and suspending threads from outside.
///
/// A thread is stopped at an interruption point only: where none of its frames belongs to the C or
/// C++ library, or where the client or this library has called a function of these that blocks, and
/// the thread sleeps in it. So no lock of these libraries stays taken. The standard output and
/// error streams are held while a thread is stopped, so it doesn't hold them either. The one
/// exception: after a second a thread is also stopped where it sleeps in a system call deep inside
/// these libraries, such as a `getline` from a terminal, as nobody can say how long that would
/// last; what these frames hold, the lock of the input stream for one, stays taken then.
///
/// A thread that runs inside these libraries without an end, or blocks all signals, can't be
/// stopped: the operation fails after 5 seconds and nothing has changed.
#ifndef UTILITIES_PLATFORM_THREADCONTROL_H
#define UTILITIES_PLATFORM_THREADCONTROL_H

#include <cstdint>

#include "utilities/platform/waitable.h"

namespace platform {

/// The count that a failed suspend or resume returns.
inline constexpr std::uint32_t COUNT_FAILED = 0xFFFFFFFF;

/// Kills the thread; has taken effect on return. True as well for one that has ended. What it held
/// of this layer's mutexes is handed on as abandoned. False where it could not be stopped within 5
/// seconds. The calling thread may kill itself.
///
/// The last resort: no destructor of its frames runs, only those of its thread-local objects, and
/// not even these where the thread was stopped after more than a second. What the frames own is
/// lost: memory, open files, locks of the client's own; a condition variable that it waited on
/// can't be destroyed.
bool TerminateThread(Handle thread, unsigned int exitCode);

/// Add and take one suspension; return the count before. A thread runs while its count is 0. A
/// suspension has taken effect on return; a thread may suspend itself. A system call that it sits
/// in goes on afterwards, but for those that the system never repeats after a signal, as `poll` and
/// `nanosleep`: they end early. Whatever locks of the client's the thread holds stay taken
/// meanwhile; in a wait for an object of this layer it lets others go first. COUNT_FAILED for a
/// thread that has ended and for one that could not be stopped within 5 seconds.
std::uint32_t SuspendThread(Handle thread);
std::uint32_t ResumeThread(Handle thread);

}  // namespace platform

#endif
