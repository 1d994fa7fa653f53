/// Threads that wait for something that other threads hand over.
///
/// A wait runs under one `StopDeferral`. Its `Waiter` lies on the thread's stack and is in the
/// queue only while the thread sleeps: a thread that is asked to stop takes it out first, so a
/// queue never holds a thread that is suspended or gone. A word is changed by three parties: who
/// hands something over sets WOKEN, under the queue's lock, together with taking the waiter out or,
/// for a mutex, without it; the signal handler sets INTERRUPTED; the thread itself clears both.
#ifndef UTILITIES_PLATFORM_LINUX_SYNC_WAITQUEUE_H
#define UTILITIES_PLATFORM_LINUX_SYNC_WAITQUEUE_H

#include <atomic>
#include <cstdint>

#include "utilities/platform/linux/sync/futexlock.h"
#include "utilities/platform/waitable.h"

namespace platform {

/// Beside the results of a wait: there is nothing to take yet.
inline constexpr std::uint32_t BLOCKED = 1;

/// The calling thread in a wait.
class Waiter {
public:
    enum class Outcome { WOKEN, TIMED_OUT, STOP_AGREED };

    Waiter();
    ~Waiter();
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;

    /// Sleeps until it is woken or the time is up. STOP_AGREED: the thread is about to stop (see
    /// stopping.h); it may have been woken as well.
    Outcome Sleep(const Deadline& deadline);

    /// Asks to be woken once more. Under the queue's lock.
    void Rearm() { m_Word.fetch_and(~WOKEN, std::memory_order_relaxed); }

    bool IsWoken() const { return (m_Word.load(std::memory_order_acquire) & WOKEN) != 0; }

    /// Woken because the object was closed.
    bool IsRefused() const { return (m_Word.load(std::memory_order_acquire) & REFUSED) != 0; }

    /// What the signal handler sets in the word of a thread that sleeps.
    static constexpr std::uint32_t INTERRUPTED = 2;

private:
    friend class WaitQueue;
    static constexpr std::uint32_t WOKEN = 1;
    static constexpr std::uint32_t REFUSED = 4;

    std::atomic<std::uint32_t> m_Word{0};
    const std::uint32_t m_Thread;  ///< Its id, for a debugger.
    Waiter* m_Next = nullptr;
    Waiter* m_Previous = nullptr;
};

/// The word of a waiter that was marked and must be woken once the queue's lock is released, or
/// null. Only its address is used: the waiter may be gone by then.
using Wakeup = const std::atomic<std::uint32_t>*;

inline void Wake(Wakeup word) {
    if (word != nullptr)
        FutexWake(word, 1);
}

/// First come, first served. Used under a lock of its owner.
class WaitQueue {
public:
    bool IsEmpty() const { return m_Head == nullptr; }
    void Push(Waiter& waiter);
    void Remove(Waiter& waiter);
    /// Takes the first waiter out and marks it woken.
    Wakeup Pop();
    /// Marks the first waiter woken and leaves it in the queue. Null also where it was marked
    /// already.
    Wakeup MarkFirst();
    void WakeAll();
    void RefuseAll();
    /// In the child of a fork, where none of the waiters exists.
    void Clear() { m_Head = m_Tail = nullptr; }

private:
    Waiter* Unlink();
    void PopAll(std::uint32_t mark);

    Waiter* m_Head = nullptr;
    Waiter* m_Tail = nullptr;
};

/// A condition variable with its own lock.
class ConditionVariable {
public:
    /// Waits until `isMet()`, which is called under the lock. False once the time is up, or when
    /// the thread must end. A suspension takes effect in here.
    template <typename Condition>
    bool WaitUntil(Condition isMet, const Deadline& deadline) {
        while (!isMet()) {
            Waiter waiter;
            if (Enter(waiter, isMet) && !Continues(waiter, waiter.Sleep(deadline)))
                return isMet();
        }
        return true;
    }
    /// Has all waiters look again. To be called after a change.
    void NotifyAll();
    /// In the child of a fork.
    void Reset();

private:
    template <typename Condition>
    bool Enter(Waiter& waiter, Condition isMet) {
        const ScopedLock lock(m_Lock);
        if (isMet())
            return false;
        m_Queue.Push(waiter);
        return true;
    }
    bool Continues(Waiter& waiter, Waiter::Outcome outcome);

    FutexLock m_Lock;
    WaitQueue m_Queue;
};

}  // namespace platform

#endif
