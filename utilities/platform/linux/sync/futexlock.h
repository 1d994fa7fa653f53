/// The lock that guards the data of this layer.
#ifndef UTILITIES_PLATFORM_LINUX_SYNC_FUTEXLOCK_H
#define UTILITIES_PLATFORM_LINUX_SYNC_FUTEXLOCK_H

#include <atomic>
#include <cstdint>

#include "utilities/platform/linux/sync/futex.h"
#include "utilities/platform/stopdeferral.h"

namespace platform {

/// Lets the other hardware thread of the core run for a moment, in loops that wait without
/// sleeping.
inline void Pause() {
#if defined(__x86_64__)
    __builtin_ia32_pause();
#endif
}

/// Guards data of this layer for a few instructions. Held only under a `StopDeferral`, so that no
/// holder is ever stopped: take it by `ScopedLock`.
class FutexLock {
public:
    void lock() {
        if (!try_lock())
            LockSlowly();
    }
    bool try_lock() {
        std::uint32_t free = 0;
        return m_Word.compare_exchange_strong(free, HELD, std::memory_order_acquire,
                                              std::memory_order_relaxed);
    }
    void unlock() {
        if (m_Word.exchange(0, std::memory_order_release) == AWAITED)
            FutexWake(&m_Word, 1);
    }
    /// For the child of a fork, where the holder doesn't exist.
    void Reset() { m_Word.store(0, std::memory_order_relaxed); }

private:
    static constexpr std::uint32_t HELD = 1;
    static constexpr std::uint32_t AWAITED = 2;  ///< Held, and threads may sleep on the word.

    void LockSlowly();

    std::atomic<std::uint32_t> m_Word{0};
};

class ScopedLock {
public:
    explicit ScopedLock(FutexLock& lock) : m_Lock(lock) { m_Lock.lock(); }
    ~ScopedLock() { m_Lock.unlock(); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

private:
    const StopDeferral m_UntilReleased;
    FutexLock& m_Lock;
};

}  // namespace platform

#endif
