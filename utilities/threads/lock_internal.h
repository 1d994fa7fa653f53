/// The locks of what threads share inside this subsystem.
#ifndef UTILITIES_THREADS_LOCK_INTERNAL_H
#define UTILITIES_THREADS_LOCK_INTERNAL_H

#include <atomic>

#include "utilities/platform/stopdeferral.h"
#include "utilities/platform/waitable.h"

/// A lock that is usable before any constructor has run and needs no destructor. Taken by
/// `ScopedStaticLock`, and around a fork by an `AtFork` beside it.
class StaticLock {
public:
    void Take() { platform::WaitForSingleObject(Mutex(), platform::INFINITE); }
    void Release() { platform::ReleaseMutex(Mutex()); }

private:
    platform::Handle Mutex() {
        platform::Handle const mutex = m_Published.load(std::memory_order_acquire);
        return mutex != nullptr ? mutex : Make();
    }
    platform::Handle Make() {
        platform::Handle const made = platform::CreateMutexA();
        platform::Handle mutex = nullptr;
        if (m_Published.compare_exchange_strong(mutex, made, std::memory_order_acq_rel))
            return made;
        platform::CloseHandle(made);
        return mutex;
    }

    std::atomic<platform::Handle> m_Published{nullptr};
};

/// Holds `lock` for a few steps, in which the thread is neither killed nor suspended: nobody ever
/// waits for a holder that doesn't run.
class ScopedStaticLock {
public:
    explicit ScopedStaticLock(StaticLock& lock) : m_Lock(lock) { m_Lock.Take(); }
    ~ScopedStaticLock() { m_Lock.Release(); }
    ScopedStaticLock(const ScopedStaticLock&) = delete;
    ScopedStaticLock& operator=(const ScopedStaticLock&) = delete;

private:
    const platform::StopDeferral m_UntilReleased;
    StaticLock& m_Lock;
};

#endif
