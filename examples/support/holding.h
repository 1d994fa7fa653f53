/// A mutex for the length of a scope.
#ifndef SUPPORT_HOLDING_H
#define SUPPORT_HOLDING_H

#include "utilities/utilities.h"

class Holding {
public:
    explicit Holding(MutexLock& held) : lock(held) { lock.Lock(); }
    ~Holding() { lock.Unlock(); }
    Holding(const Holding&) = delete;
    Holding& operator=(const Holding&) = delete;

private:
    MutexLock& lock;
};

#endif
