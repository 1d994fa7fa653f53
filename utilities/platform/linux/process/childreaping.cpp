#include "utilities/platform/linux/process/childreaping.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>

#include "utilities/platform/clock.h"
#include "utilities/platform/fork.h"
#include "utilities/platform/linux/sync/futexlock.h"
#include "utilities/platform/linux/sync/retry.h"

namespace platform {

namespace {

// A killed child ends at once, unless it sleeps where the system can't interrupt it.
constexpr std::uint32_t REAP_MILLISECONDS = 2000;

// Children that sleep so, at most so many; the system keeps what is left of others until this
// process ends.
constexpr std::size_t LATE_CHILDREN = 16;

constinit FutexLock lateLock;
constinit Child lateChildren[LATE_CHILDREN] = {};
constinit std::size_t lateCount = 0;

void Close(Child child) {
    if (child.kind == P_PIDFD)
        close(child.id);
}

// They are the parent's children.
void ForgetLateChildren() {
    std::for_each(lateChildren, lateChildren + lateCount, Close);
    lateCount = 0;
    lateLock.Reset();
}

const AtFork lateChildrenAtFork(
    ForkOrder::SUBSYSTEMS, [] { lateLock.lock(); }, [] { lateLock.unlock(); }, ForgetLateChildren);

/// True also for a child that the system or somebody else has reaped.
bool IsReaped(Child child) {
    siginfo_t end{};
    const int result = Uninterrupted(
        [&] { return waitid(child.kind, static_cast<id_t>(child.id), &end, WEXITED | WNOHANG); });
    return result != 0 || end.si_pid != 0;
}

}  // namespace

void ReapChild(Child child) {
    const std::uint32_t start = GetTickCount();
    bool isReaped;
    while (!(isReaped = IsReaped(child)) && GetTickCount() - start < REAP_MILLISECONDS)
        Sleep(1);
    const ScopedLock lock(lateLock);
    if (isReaped || lateCount == std::size(lateChildren))
        Close(child);
    else
        lateChildren[lateCount++] = child;
}

void ReapLateChildren() {
    const ScopedLock lock(lateLock);
    Child* const kept = std::partition(lateChildren, lateChildren + lateCount,
                                       [](Child child) { return !IsReaped(child); });
    std::for_each(kept, lateChildren + lateCount, Close);
    lateCount = static_cast<std::size_t>(kept - lateChildren);
}

}  // namespace platform
