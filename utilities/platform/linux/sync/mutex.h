/// Mutexes as states of a slot.
///
/// `owner` is the id of the thread that holds the mutex, 0 while it is free, or one of the two
/// values below for one whose holder is gone: those are free as well, and tell the next holder.
/// `limit` counts the holder's nested acquisitions; only the holder changes it.
///
/// The free mutex is taken by one exchange of `owner`. It is released by a plain store of 0, after
/// which the releaser looks whether MARK_AWAITED is set. A plain store and a load may be seen in
/// the other order, so whoever sets the mark then has all threads of the process pass a barrier
/// (`FenceAllThreads`) and looks at `owner` once more before it sleeps: either the releaser sees
/// the mark, or the waiter sees the mutex free. This moves the cost of an exchange from every
/// release to those waits that sleep. Where the system has no such barrier MARK_ALWAYS is set in
/// every mutex: each release then takes the long way, on which it passes a barrier itself.
///
/// What holds at all times, under the slot's lock:
///  - while the queue isn't empty, the mark is set, or its first waiter has been woken and has not
///    looked yet, or somebody holds the mutex who took it under this lock and set the mark;
///  - a woken waiter competes for the mutex with those who come by; who leaves the queue without
///    the mutex hands its wake-up on;
///  - no thread in the queue is suspended.
/// A thread that is stopped between its store and its look is remembered in `current.released`, and
/// the look is made up for when it stops (`FinishRelease`).
#ifndef UTILITIES_PLATFORM_LINUX_SYNC_MUTEX_H
#define UTILITIES_PLATFORM_LINUX_SYNC_MUTEX_H

#include <cstdint>

#include "utilities/platform/linux/sync/current.h"
#include "utilities/platform/linux/sync/handles.h"

namespace platform {

inline constexpr std::uint32_t OWNER_ABANDONED = 0x80000000;   ///< The holder's thread has ended.
inline constexpr std::uint32_t OWNER_NOT_FORKED = 0x40000000;  ///< It exists in the parent only.

inline constexpr std::uint32_t OWNER_NO_MUTEX = 0x20000000;  ///< In slots of other objects.

inline constexpr std::uint32_t MARK_AWAITED = 1;
inline constexpr std::uint32_t MARK_ALWAYS = 2;

inline constexpr std::uint32_t DEEPEST = 0xFFFFFFFF;

/// Wakes the first waiter of the slot's mutex if that is free and awaited. May be called at any
/// time, for any slot.
void FinishRelease(Slot& slot);

/// The look at the marks after a release.
inline void WakeIfAwaited(Slot& slot) {
    if (slot.marks.load(std::memory_order_relaxed) != 0) [[unlikely]]
        FinishRelease(slot);
}

/// Frees a mutex that the caller holds once.
inline void ReleaseSlot(Slot& slot) {
    current.released = &slot;
    std::atomic_signal_fence(std::memory_order_seq_cst);
    slot.owner.store(0, std::memory_order_release);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    current.held = current.held - 1;
    WakeIfAwaited(slot);
}

/// Takes the mutex where it is free or the caller's, whose id is `self`. NOT leaves all to
/// `AcquireMutexSlowly`; also for a slot of another kind, whose owner is no thread.
inline Acquired AcquireMutexAtOnce(Slot& slot, Handle handle, std::uint32_t self) {
    if (slot.handle.load(std::memory_order_relaxed) != NumberOf(handle))
        return Acquired::NOT;
    std::uint32_t owner = slot.owner.load(std::memory_order_relaxed);
    if (owner == self) {
        const std::uint32_t depth = slot.limit.load(std::memory_order_relaxed);
        if (depth == DEEPEST)
            return Acquired::NOT;
        slot.limit.store(depth + 1, std::memory_order_relaxed);
        return Acquired::AGAIN;
    }
    if (owner != 0)
        return Acquired::NOT;
    current.held = current.held + 1;
    std::atomic_signal_fence(std::memory_order_seq_cst);
    if (slot.owner.compare_exchange_strong(owner, self, std::memory_order_acquire,
                                           std::memory_order_relaxed)) [[likely]] {
        if (IsOpen(slot, handle)) [[likely]]
            return Acquired::FIRST;
        // It can be another mutex by now: `AcquireMutexSlowly` looks who waits.
        current.released = &slot;
        slot.owner.store(0, std::memory_order_release);
    }
    current.held = current.held - 1;
    return Acquired::NOT;
}

/// Gives up one of the acquisitions of the caller, whose id is `self`. False where the handle is
/// closed or the caller isn't the holder.
inline bool ReleaseMutexOf(Slot& slot, Handle handle, std::uint32_t self) {
    if (slot.handle.load(std::memory_order_relaxed) != NumberOf(handle) ||
        slot.owner.load(std::memory_order_relaxed) != self)
        return false;
    if (const std::uint32_t depth = slot.limit.load(std::memory_order_relaxed); depth != 0) {
        slot.limit.store(depth - 1, std::memory_order_relaxed);
        return true;
    }
    ReleaseSlot(slot);
    return true;
}

/// What `AcquireMutexAtOnce` leaves.
std::uint32_t AcquireMutexSlowly(Slot& slot, Handle handle, std::uint32_t milliseconds);

/// Frees all that the thread holds, for the next holder to know. For a thread that ends.
void AbandonMutexes(std::uint32_t threadId);

/// For a slot that is being closed, under its lock. False while another thread holds its mutex.
bool EndMutex(Slot& slot);

/// The marks of a mutex that is opened.
std::uint32_t FreshMarks();

/// At the load and in the child of a fork: finds out how waits can be ordered with releases.
void PrepareFences();

/// In the child of a fork: the mutexes of the thread that forked go to its new id, those of other
/// threads are free.
void MoveMutexesToForkedThread();

}  // namespace platform

#endif
