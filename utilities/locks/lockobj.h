/// A mutex that is published in the list of `mutexlist.h`, a counting semaphore and an event.
///
/// Times are milliseconds of the monotonic clock; 0 only looks, 0xFFFFFFFF sets no limit. No signal
/// ends a wait early. What the platform refuses isn't reported: a lock that could not be created
/// makes its timed waits false and its `Lock` return as if it had succeeded.
///
/// A copy shares the platform object of its source, and a mutex's record in the list, and nothing
/// counts the sharers: only one of them may be destroyed. An assignment drops what its target held,
/// which is never closed then. All other operations can be called from any thread; an object must
/// outlive all calls on it.
#ifndef UTILITIES_LOCKS_LOCKOBJ_H
#define UTILITIES_LOCKS_LOCKOBJ_H

#include <cstdint>

#include "utilities/frame/export.h"
#include "utilities/frame/relaxed.h"

/// A recursive mutex: its holder can take it again and gives it up as often as it took it.
///
/// Wrong use is reported on the standard error stream ("ASSERT(...)") and then carried out as far
/// as it goes. When a thread ends or is killed while it holds the mutex, the next `Lock` gets it,
/// reports that and goes on counting where that thread stopped, so that what the mutex guards
/// should not be trusted; `TryLock` answers false once and leaves the mutex to others.
///
/// The list has room for 800 mutexes. One more says so on the standard output, works as any other
/// and shares the last line.
class UTILITIES_EXPORT MutexLock {
public:
    /// A free mutex under `name`, of which the list keeps 24 characters. A name of fewer than two
    /// characters is replaced by MTX_ and the number of its record. `name` must not be null.
    MutexLock(const char* name = " ");

    /// The copy has an owner and a count of its own from then on.
    MutexLock(const MutexLock& other);
    MutexLock& operator=(const MutexLock& other);

    /// Reported where another thread holds it, or where a thread is inside `Lock` while it is held.
    /// The holder may destroy it.
    virtual ~MutexLock();

    /// Waits until the caller holds the mutex. For as long as this takes the caller is listed among
    /// the waiters, the first five of them.
    void Lock();

    /// Waits at most `timeout`. True when the caller now holds the mutex. The caller isn't listed
    /// as a waiter, and the time since which the deadlock check takes the mutex as held stays that
    /// of the last `Lock`.
    bool TryLock(unsigned int timeout);

    /// Gives up one acquisition. Reported where the caller isn't the holder; that takes one off the
    /// count and frees nothing.
    void Unlock();

    /// `Lock`, `TryLock(0)` and `Unlock` under the names that the standard library's guards call,
    /// as in `std::scoped_lock guard(mutex)`. No guard gives up the mutex of a thread that is
    /// killed.
    void lock() { Lock(); }
    bool try_lock() { return TryLock(0); }
    void unlock() { Unlock(); }

    /// Lists the mutex under the first 24 characters of `name`, a short one too. It must not be
    /// null.
    void SetName(const char* name);

private:
    UTILITIES_LOCAL bool CountAcquisition(std::uint32_t caller);
    UTILITIES_LOCAL void FollowFork(std::uint32_t caller);
    UTILITIES_LOCAL void StartAnew();
    UTILITIES_LOCAL void LockWithSlot(Relaxed<std::uint32_t>* slot);
    UTILITIES_LOCAL void FinishLock(Relaxed<std::uint32_t>* slot, std::uint32_t caller);
    UTILITIES_LOCAL void UnlockAndReport();

    void* m_Handle;
    Relaxed<std::uint32_t> m_ThreadId;    ///< Who holds it, 0 when it is free.
    Relaxed<std::int32_t> m_LockedCount;  ///< Acquisitions that are not given up yet.
    std::uint16_t m_DbgListIndex;
};

/// A counting semaphore. Any thread may return a unit.
class UTILITIES_EXPORT SemaphoreLock {
public:
    /// At most `maxCount` units, of which `initialCount` are free. A `maxCount` below 1 becomes 1;
    /// an `initialCount` below 0 or above the maximum means that all are free.
    SemaphoreLock(int maxCount, int initialCount);
    SemaphoreLock(const SemaphoreLock& other);
    SemaphoreLock& operator=(const SemaphoreLock& other);
    virtual ~SemaphoreLock();

    /// Waits at most `timeout`. True when a unit was taken.
    bool TryLock(unsigned int timeout);

    /// Waits for a unit and takes it.
    void Lock();

    /// Takes a unit if one is free, and tells so.
    bool CheckLock();

    /// Returns one unit. Beyond the maximum this has no effect.
    void Unlock();

private:
    void* m_Handle;
};

/// An event that threads wait for. One with automatic reset lets one waiter go for each `Set`, and
/// is cleared by that; where nobody waits it stays set for the next, once. One with `manualReset`
/// lets all go until it is cleared.
class UTILITIES_EXPORT EventLock {
public:
    EventLock(bool manualReset = false, bool initialState = false);
    EventLock(const EventLock& other);
    EventLock& operator=(const EventLock& other);
    virtual ~EventLock();

    /// Waits, at most `timeout` or without a limit. True when the event was set.
    bool Wait(unsigned int timeout);
    bool Wait();

    void Set();
    void Reset();

private:
    void* m_Handle;
};

#endif
