#include "utilities/platform/linux/futex.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace platform {

namespace {

constexpr std::int64_t NANOSECONDS = 1'000'000'000;
constexpr int SPINS = 40;

timespec Now() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now;
}

}  // namespace

Deadline::Deadline(std::uint32_t milliseconds) {
    if (milliseconds == INFINITE)
        limited = false;
    else
        *this = AfterNanoseconds(std::int64_t{milliseconds} * 1'000'000);
}

Deadline Deadline::AfterNanoseconds(std::int64_t nanoseconds) {
    Deadline deadline(INFINITE);
    deadline.limited = true;
    const timespec now = Now();
    const std::int64_t sum = now.tv_nsec + nanoseconds;
    deadline.when.tv_sec = now.tv_sec + sum / NANOSECONDS;
    deadline.when.tv_nsec = sum % NANOSECONDS;
    return deadline;
}

bool Deadline::IsOver() const {
    if (!limited)
        return false;
    const timespec now = Now();
    return now.tv_sec != when.tv_sec ? now.tv_sec > when.tv_sec : now.tv_nsec >= when.tv_nsec;
}

bool FutexWait(const std::atomic<std::uint32_t>& word, std::uint32_t expected,
               const Deadline& deadline) {
    const long result = syscall(SYS_futex, &word, FUTEX_WAIT_BITSET_PRIVATE, expected,
                                deadline.Get(), nullptr, FUTEX_BITSET_MATCH_ANY);
    return result == 0 || errno != ETIMEDOUT;
}

void FutexWake(const std::atomic<std::uint32_t>* word, int count) {
    syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, count);
}

void Lock::LockSlowly() {
    for (int spin = 0; spin < SPINS; ++spin) {
        if (word.load(std::memory_order_relaxed) == 0 && try_lock())
            return;
        Pause();
    }
    const Deadline none(INFINITE);
    while (word.exchange(AWAITED, std::memory_order_acquire) != 0)
        FutexWait(word, AWAITED, none);
}

}  // namespace platform
