/// Sleeping on a word of memory, limits of time for that, and the lock that guards this layer's own
/// data.
#ifndef UTILITIES_PLATFORM_LINUX_FUTEX_H
#define UTILITIES_PLATFORM_LINUX_FUTEX_H

#include <atomic>
#include <cstdint>
#include <ctime>

#include "utilities/platform/threads.h"

namespace platform {

/// A point on the monotonic clock up to which to wait, or none.
class Deadline {
public:
    /// `milliseconds` from now; INFINITE is none.
    explicit Deadline(std::uint32_t milliseconds);
    static Deadline AfterNanoseconds(std::int64_t nanoseconds);

    const timespec* Get() const { return limited ? &when : nullptr; }
    bool IsOver() const;

private:
    timespec when{};
    bool limited = true;
};

/// Sleeps while `word` holds `expected`. False once the time is up; true means only that the word
/// is to be looked at again.
bool FutexWait(const std::atomic<std::uint32_t>& word, std::uint32_t expected,
               const Deadline& deadline);

/// Wakes `count` sleepers. Only the address counts: the word itself may be gone.
void FutexWake(const std::atomic<std::uint32_t>* word, int count);

/// Gives the other hardware thread of the core a moment, in loops that wait without sleeping.
inline void Pause() {
#if defined(__x86_64__)
    __builtin_ia32_pause();
#endif
}

/// Guards data of this layer for a few instructions. Held only under a `HoldOff`, so that no holder
/// is ever stopped: take it by `Guard`.
class Lock {
public:
    void lock() {
        std::uint32_t free = 0;
        if (!word.compare_exchange_strong(free, HELD, std::memory_order_acquire,
                                          std::memory_order_relaxed))
            LockSlowly();
    }
    bool try_lock() {
        std::uint32_t free = 0;
        return word.compare_exchange_strong(free, HELD, std::memory_order_acquire,
                                            std::memory_order_relaxed);
    }
    void unlock() {
        if (word.exchange(0, std::memory_order_release) == AWAITED)
            FutexWake(&word, 1);
    }
    /// For the child of a fork, where the holder doesn't exist.
    void Reset() { word.store(0, std::memory_order_relaxed); }

private:
    static constexpr std::uint32_t HELD = 1;
    static constexpr std::uint32_t AWAITED = 2;
    void LockSlowly();
    std::atomic<std::uint32_t> word{0};
};

class Guard {
public:
    explicit Guard(Lock& guarded) : lock(guarded) { lock.lock(); }
    ~Guard() { lock.unlock(); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

private:
    HoldOff hold;
    Lock& lock;
};

}  // namespace platform

#endif
