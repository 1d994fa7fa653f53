/// Objects that a thread can wait for: mutexes, semaphores, events and the ends of threads.
///
/// A handle is a plain value. One that is null, was never given out, or was closed, also by another
/// thread that gets ahead of the call, makes every operation fail and is never followed into freed
/// memory. All operations can be called from any thread.
#ifndef UTILITIES_PLATFORM_WAITABLE_H
#define UTILITIES_PLATFORM_WAITABLE_H

#include <cstdint>

namespace platform {

using Handle = void*;

/// No limit to a wait.
inline constexpr std::uint32_t INFINITE = 0xFFFFFFFF;

/// The results of a wait.
inline constexpr std::uint32_t WAIT_OBJECT_0 = 0;      ///< Acquired, or was set, or has ended.
inline constexpr std::uint32_t WAIT_ABANDONED = 0x80;  ///< Acquired; its holder's thread has ended.
/// Acquired, in the child of a fork, for the first time since; its holder is a thread of the
/// parent.
inline constexpr std::uint32_t WAIT_NOT_FORKED = 0x81;
inline constexpr std::uint32_t WAIT_TIMEOUT = 0x102;
inline constexpr std::uint32_t WAIT_FAILED = 0xFFFFFFFF;

/// Creates a recursive mutex of this process, not held. Null on failure, as for all that create:
/// beyond 262,144 open handles, or without memory for more than 256 of them.
Handle CreateMutexA();

/// Creates a counting semaphore; 0 <= `initial` <= `maximum`, `maximum` > 0, otherwise null.
Handle CreateSemaphoreA(std::int32_t initial, std::int32_t maximum);

Handle CreateEventA(bool manualReset, bool initialState);

/// Waits at most `milliseconds`, on the monotonic clock, for the object: a mutex is acquired (the
/// holder acquires it again), one is taken from a semaphore's count, an auto-reset event is reset,
/// a thread has ended and the system has taken it back. No signal ends the wait early. A thread
/// that is suspended in a wait has no part in it until it is resumed, and is then the last to have
/// come.
///
/// In the child of a fork the mutexes that the forking thread held are still held by it, all others
/// are free, and threads that exist in the parent only have ended.
std::uint32_t WaitForSingleObject(Handle object, std::uint32_t milliseconds);

/// How a mutex was acquired.
enum class Acquired { NOT, FIRST, AGAIN };

/// The short way of taking a mutex that is free or held by the caller, whose id must not be 0 and
/// come from `GetLockerId`. NOT, with nothing done, leaves all to `WaitForSingleObject`.
Acquired AcquireAtOnce(Handle mutex, std::uint32_t locker);

/// The calling thread's id if it has waited for a mutex before, otherwise 0.
std::uint32_t GetLockerId();

/// Gives up one acquisition. False where the caller doesn't hold the mutex.
bool ReleaseMutex(Handle mutex);

/// The same by a caller that has its id, which must not be 0, from `GetLockerId`.
bool Release(Handle mutex, std::uint32_t locker);

/// Whether the calling thread holds the mutex.
bool IsHeldByCaller(Handle mutex);

/// Adds one to the count. False beyond the maximum.
bool ReleaseSemaphore(Handle semaphore);

/// Each set of an auto-reset event lets one waiter go, also several in a row before a woken waiter
/// has run; with nobody waiting the event stays set. A manual-reset event lets all go that wait
/// now, also where a reset follows at once, and stays set.
bool SetEvent(Handle event);
bool ResetEvent(Handle event);

/// Ends the handle, and the object unless it is a thread that still runs. Waits of other threads on
/// it fail; those for the end of a thread go on, as the thread does.
bool CloseHandle(Handle object);

}  // namespace platform

#endif
