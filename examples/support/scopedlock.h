/// A mutex that is held until the end of a scope.
#ifndef SUPPORT_SCOPEDLOCK_H
#define SUPPORT_SCOPEDLOCK_H

#include "utilities/utilities.h"

/// Locks a mutex that must outlive it, and unlocks it when the scope ends, by an exception too.
class ScopedLock {
public:
    explicit ScopedLock(MutexLock& mutex) : m_Mutex(mutex) { m_Mutex.Lock(); }
    ~ScopedLock() { m_Mutex.Unlock(); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

private:
    MutexLock& m_Mutex;
};

#endif
