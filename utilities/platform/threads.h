/// Threads that can be suspended and killed from outside.
#ifndef UTILITIES_PLATFORM_THREADS_H
#define UTILITIES_PLATFORM_THREADS_H

#include <cstdint>

#include "utilities/platform/waitable.h"

namespace platform {

/// Flag of `_beginthreadex`: the thread runs only once it has been resumed.
inline constexpr unsigned int CREATE_SUSPENDED = 4;

/// The count that a failed suspend or resume gives.
inline constexpr std::uint32_t COUNT_FAILED = 0xFFFFFFFF;

/// The priority of no thread.
inline constexpr int THREAD_PRIORITY_ERROR_RETURN = 0x7FFFFFFF;

/// The calling thread's id: the kernel's, never 0, right after a fork as well.
std::uint32_t GetCurrentThreadId();

/// The calling thread's name in the system's own tools, which show its first 15 bytes.
void SetCurrentThreadName(const char* name);

/// Starts a thread in `start(argument)` and stores its id in `id`, before the thread runs. Null on
/// failure, with `id` untouched.
Handle _beginthreadex(unsigned int (*start)(void*), void* argument, unsigned int flags,
                      std::uint32_t* id);

/// Ends the calling thread at once, without running what its frames hold. Its thread-local objects
/// are destroyed, except in a thread that wasn't started here.
[[noreturn]] void _endthreadex(unsigned int exitCode);

/// Kills the thread wherever it is; has taken effect on return. True as well for one that has
/// ended. What it held is handed on as abandoned. False where that can't be done within 5 seconds,
/// as with a thread that blocks all signals. The calling thread may kill itself.
///
/// The last resort: no destructor of its frames runs, only those of its thread-local objects, which
/// may have been in use. What the frames own is lost: memory, open files, and all locks but the
/// mutexes of this layer stay taken for ever; a condition variable that it waited on can't be
/// destroyed. The standard output and error streams and, but for a thread that gives no other
/// chance for a second, the heap are spared.
bool TerminateThread(Handle thread, unsigned int exitCode);

/// Add and take one suspension; give the count before. A thread runs while its count is 0. A
/// suspend has taken effect on return; a thread may suspend itself. A system call that it sits in
/// goes on afterwards, but for those that the system never repeats behind a signal, as `poll` and
/// `nanosleep`: they end early. COUNT_FAILED for a thread that has ended or blocks all signals.
/// Whatever locks the thread holds stay taken meanwhile; as with a kill, the heap and the streams
/// are spared.
std::uint32_t SuspendThread(Handle thread);
std::uint32_t ResumeThread(Handle thread);

/// The seven priorities -15, -2, -1, 0, 1, 2 and 15, as nice values of the thread: the main
/// thread's and 19, 10, 5, 0, -5, -10 or -20 more. False for another number and where the process's
/// rights don't allow it. A thread starts with 0, or with its creator's where they don't allow
/// that.
bool SetThreadPriority(Handle thread, int priority);
int GetThreadPriority(Handle thread);

/// While one lives on a thread's stack, kills and suspensions of that thread wait: round what would
/// leave a lock taken. They nest.
class HoldOff {
public:
    HoldOff();
    ~HoldOff();
    HoldOff(const HoldOff&) = delete;
    HoldOff& operator=(const HoldOff&) = delete;
};

}  // namespace platform

#endif
