#include "utilities/platform/linux/files/ownership.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <atomic>

#include "utilities/frame/errno_internal.h"
#include "utilities/platform/fork.h"
#include "utilities/platform/linux/files/rangelock.h"

// The owner is noted in the open file itself, as the process that would receive its signals
// (F_SETOWN), which nothing here has sent. The kernel keeps it as a reference to the process and
// not as a number: it reads as 0 once that process is gone, and as 0 in a process namespace that
// doesn't show it, so neither a number used again nor a second process 1 is taken for the owner. It
// needs no memory of ours, survives whatever kind of fork made a child, and in the child of a
// vfork, which shares our memory, it still differs from the child's own number.

namespace platform {

namespace {

// Only for the speed of MayLock: a child that was made without our knowledge (by a bare system
// call) is found out at the close only.
constinit std::atomic<bool> isForked = false;

const AtFork NOTE_FORK(ForkOrder::SUBSYSTEMS, nullptr, nullptr,
                       [] { isForked.store(true, std::memory_order_relaxed); });

}  // namespace

void OwnLocks(int file) { fcntl(file, F_SETOWN, getpid()); }

bool OwnsLocks(int file) { return fcntl(file, F_GETOWN) == getpid(); }

bool MayLock(int file) {
    if (!isForked.load(std::memory_order_relaxed) || OwnsLocks(file))
        return true;
    if (fcntl(file, F_GETOWN) > 0)
        return false;
    OwnLocks(file);
    return true;
}

void CloseReleasingLocks(int file) {
    const ScopedErrno untilClosed;
    if (OwnsLocks(file)) {
        SetLock(file, F_UNLCK, EVERYTHING);
        flock(file, LOCK_UN);
    }
    close(file);
}

}  // namespace platform
