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
inline constexpr std::uint32_t WAIT_TIMEOUT = 0x102;
inline constexpr std::uint32_t WAIT_FAILED = 0xFFFFFFFF;

/// A recursive mutex of this process, not held. Null on failure, as for all that create: beyond
/// 262,144 open handles.
Handle CreateMutexA();

/// A counting semaphore; 0 <= `initial` <= `maximum`, `maximum` > 0, else null.
Handle CreateSemaphoreA(std::int32_t initial, std::int32_t maximum);

Handle CreateEventA(bool manualReset, bool initialState);

/// Waits at most `milliseconds`, on the monotonic clock, for the object: a mutex is acquired (the
/// holder acquires it again), a semaphore gives a unit, an auto-reset event is reset, a thread has
/// ended. No signal ends it early.
std::uint32_t WaitForSingleObject(Handle object, std::uint32_t milliseconds);

/// Gives up one acquisition. False where the caller doesn't hold the mutex.
bool ReleaseMutex(Handle mutex);

/// Returns one unit. False beyond the maximum.
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
