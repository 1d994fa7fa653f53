/// Threads that wait for something that others give.
#ifndef UTILITIES_PLATFORM_LINUX_WAITING_H
#define UTILITIES_PLATFORM_LINUX_WAITING_H

#include <atomic>
#include <cstdint>

#include "utilities/platform/linux/futex.h"

namespace platform {

/// Beside the results of a wait: there is nothing to take yet.
inline constexpr std::uint32_t BLOCKED = 1;

/// The calling thread in a wait. It lives on the thread's stack: a thread that is to die leaves its
/// wait by itself first, and takes its waiter out of the queue.
class Waiter {
public:
    Waiter();
    ~Waiter();
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;

    /// Sleeps until it is woken. False once the time is up or when the thread must die. A
    /// suspension is sat out in here.
    bool Sleep(const Deadline& deadline);
    /// Asks to be woken once more. Under the queue's lock.
    void Rearm() { word.fetch_and(~WOKEN, std::memory_order_relaxed); }
    /// Woken because there is nothing to wait for any more.
    bool IsRefused() const { return (word.load(std::memory_order_acquire) & REFUSED) != 0; }
    bool IsWoken() const { return (word.load(std::memory_order_acquire) & WOKEN) != 0; }

private:
    friend class WaitQueue;
    static constexpr std::uint32_t WOKEN = 1;
    static constexpr std::uint32_t REFUSED = 4;

    std::atomic<std::uint32_t> word{0};
    Waiter* next = nullptr;
    Waiter* previous = nullptr;
};

/// First come, first served. Used under a lock of its owner.
class WaitQueue {
public:
    bool IsEmpty() const { return head == nullptr; }
    bool IsOnly(const Waiter& waiter) const { return head == &waiter && tail == &waiter; }
    void Push(Waiter& waiter);
    void Remove(Waiter& waiter);
    /// Takes the first out and marks it woken. Gives the word to wake, once the lock is released,
    /// or null.
    const std::atomic<std::uint32_t>* Pop();
    /// The same, but the first stays in the queue; null also where it was marked already.
    const std::atomic<std::uint32_t>* MarkFirst();
    void WakeAll();
    void RefuseAll();
    void Clear() { head = tail = nullptr; }

private:
    const std::atomic<std::uint32_t>* Pop(std::uint32_t mark);

    Waiter* head = nullptr;
    Waiter* tail = nullptr;
};

/// A condition with those that wait for it.
class Turnstile {
public:
    /// Waits until `met()`. False once the time is up or when the thread must die.
    template <typename Condition>
    bool WaitUntil(Condition met, const Deadline& deadline) {
        while (!met()) {
            Waiter waiter;
            if (Enter(waiter, met) && !Leave(waiter, waiter.Sleep(deadline)))
                return met();
        }
        return true;
    }
    /// Lets all look again. To be called after a change.
    void Open();
    void Reset();

private:
    template <typename Condition>
    bool Enter(Waiter& waiter, Condition met) {
        const Guard guard(lock);
        if (met())
            return false;
        queue.Push(waiter);
        return true;
    }
    bool Leave(Waiter& waiter, bool woken);

    Lock lock;
    WaitQueue queue;
};

/// What the handler sets in the word of a thread that sleeps in a wait.
inline constexpr std::uint32_t SLEEP_INTERRUPTED = 2;

}  // namespace platform

#endif
