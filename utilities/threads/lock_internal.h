/// The locks of what threads share inside this subsystem.
#ifndef UTILITIES_THREADS_LOCK_INTERNAL_H
#define UTILITIES_THREADS_LOCK_INTERNAL_H

#include <atomic>

#include "utilities/platform/threads.h"
#include "utilities/platform/waitable.h"

/// A lock that is usable before any constructor has run and needs no destructor. The child of a
/// fork can take it whoever held it in the parent. Taken by `HeldOffLock`.
class StaticLock {
public:
    void Take() { platform::WaitForSingleObject(Mutex(), platform::INFINITE); }
    void GiveBack() { platform::ReleaseMutex(Mutex()); }

private:
    platform::Handle Mutex() {
        platform::Handle const mutex = published.load(std::memory_order_acquire);
        return mutex != nullptr ? mutex : Make();
    }
    platform::Handle Make() {
        platform::Handle const made = platform::CreateMutexA();
        platform::Handle mutex = nullptr;
        if (published.compare_exchange_strong(mutex, made, std::memory_order_acq_rel))
            return made;
        platform::CloseHandle(made);
        return mutex;
    }

    std::atomic<platform::Handle> published{nullptr};
};

/// Holds `lock` for a few steps, in which the thread is neither killed nor suspended: nobody ever
/// waits for a holder that doesn't run.
class HeldOffLock {
public:
    explicit HeldOffLock(StaticLock& held) : lock(held) { lock.Take(); }
    ~HeldOffLock() { lock.GiveBack(); }
    HeldOffLock(const HeldOffLock&) = delete;
    HeldOffLock& operator=(const HeldOffLock&) = delete;

private:
    platform::HoldOff holdOff;
    StaticLock& lock;
};

#endif
