/// Holding a `MutexLock` of the library for as long as a scope lasts.
#ifndef UTILITIES_LOCKS_SCOPEDLOCK_INTERNAL_H
#define UTILITIES_LOCKS_SCOPEDLOCK_INTERNAL_H

#include "utilities/locks/lockobj.h"
#include "utilities/platform/stopdeferral.h"

/// Locks a mutex in its constructor and unlocks it in its destructor. Kills and suspensions of the
/// calling thread are deferred in between: a thread that stopped there would keep the mutex for
/// ever, and what it guards would stay half changed.
///
/// A thread that still waits for the mutex in the constructor can be killed and suspended, unless
/// it is under another deferral already. Nothing of a client, no callback and no stream, may run in
/// the scope.
class ScopedLock {
public:
    explicit ScopedLock(MutexLock& mutex) : m_Mutex(mutex) { m_Mutex.Lock(); }
    ~ScopedLock() { m_Mutex.Unlock(); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

private:
    // First, so that the deferral begins before the mutex is locked and ends after it is unlocked.
    const platform::StopDeferral m_Deferral;
    MutexLock& m_Mutex;
};

#endif
