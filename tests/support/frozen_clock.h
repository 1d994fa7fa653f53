/// A clock that a test can stop. To be included by one source of a program, in which it stands
/// between the library and the system.
#ifndef TESTS_SUPPORT_FROZEN_CLOCK_H
#define TESTS_SUPPORT_FROZEN_CLOCK_H

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <functional>
#include <utility>

/// Milliseconds, less than 0 while the clock runs. Stopped, it moves only by pauses, which are over
/// at once, and by what the test adds.
inline std::atomic<long> frozenTime = -1;

/// What happens elsewhere in the next pause.
inline std::function<void()> atPause;

/// Moments before 32 bits of milliseconds wrap.
inline constexpr long BEFORE_THE_WRAP = 0xFFFFFF00;

extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept {
    const auto result = static_cast<int>(syscall(SYS_clock_gettime, clock, now));
    if (frozenTime >= 0)
        *now = {frozenTime / 1000, frozenTime % 1000 * 1'000'000};
    return result;
}

extern "C" int clock_nanosleep(clockid_t clock, int flags, const timespec* end, timespec* left) {
    if (frozenTime < 0)
        return syscall(SYS_clock_nanosleep, clock, flags, end, left) == 0 ? 0 : errno;
    frozenTime = end->tv_sec * 1000 + end->tv_nsec / 1'000'000;
    if (const auto happens = std::exchange(atPause, nullptr))
        happens();
    return 0;
}

#endif
