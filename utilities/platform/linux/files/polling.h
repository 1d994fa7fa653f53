/// Waiting for locks of files.
#ifndef UTILITIES_PLATFORM_LINUX_FILES_POLLING_H
#define UTILITIES_PLATFORM_LINUX_FILES_POLLING_H

#include <cstdint>

#include "utilities/platform/clock.h"
#include "utilities/platform/stopdeferral.h"

namespace platform {

/// What an attempt to take a lock came to.
enum class Attempt { TAKEN, HELD_ELSEWHERE, FAILED };

/// The place of a waiter where nobody queues.
struct NoQueue {
    bool IsFirst() const { return true; }
};

/// How long a waiter that is not the first one in the queue lets the others go first. A lock that
/// nobody takes may have a first waiter that is stopped for good.
inline constexpr std::uint32_t PATIENCE_MILLISECONDS = 500;

/// Waits for a lock that was held elsewhere a moment ago: calls `attempt` once a millisecond, until
/// the lock is taken, an attempt fails or `milliseconds` are over. Returns what the last attempt
/// came to. The system's own waits for such locks have no limit of time.
///
/// `enterQueue()` returns the waiter's place for one millisecond; only the first one attempts.
/// Place, pause and attempt stand under a `StopDeferral`, so a thread that is stopped here has no
/// place.
template <typename EnterQueue, typename Function>
Attempt Poll(std::uint32_t milliseconds, EnterQueue enterQueue, Function attempt) {
    const std::uint32_t start = GetTickCount();
    for (std::uint32_t waited = 0; waited < milliseconds; waited = GetTickCount() - start) {
        const StopDeferral untilPlaceIsLeft;
        const auto place = enterQueue();
        Sleep(1);
        const Attempt result = place.IsFirst() || waited >= PATIENCE_MILLISECONDS
                                   ? attempt()
                                   : Attempt::HELD_ELSEWHERE;
        if (result != Attempt::HELD_ELSEWHERE)
            return result;
    }
    return Attempt::HELD_ELSEWHERE;
}

}  // namespace platform

#endif
