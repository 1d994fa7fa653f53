#include "utilities/platform/clock.h"

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "utilities/platform/linux/futex.h"
#include "utilities/platform/linux/retry.h"

namespace platform {

namespace {

/// On the coarse monotonic clock; 0 before it was asked for.
constinit std::atomic<std::int64_t> processStart{0};

std::int64_t Milliseconds(clockid_t source) {
    timespec now{};
    clock_gettime(source, &now);
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

/// The 22nd field of the process's line, counted in ticks since the system's start. False where
/// there is none.
bool ReadStartTicks(long long& ticks) {
    char line[1024];
    const int file = Uninterrupted([] { return open("/proc/self/stat", O_RDONLY | O_CLOEXEC); });
    if (file < 0)
        return false;
    const ssize_t size = Uninterrupted([&] { return read(file, line, sizeof line - 1); });
    close(file);
    line[size > 0 ? size : 0] = '\0';
    // The second field is a name in parentheses, which may hold anything.
    const char* field = std::strrchr(line, ')');
    for (int number = 2; field != nullptr && number < 22; ++number)
        field = std::strchr(field + 1, ' ');
    if (field == nullptr)
        return false;
    ticks = std::strtoll(field, nullptr, 10);
    return true;
}

std::int64_t FindProcessStart() {
    const std::int64_t now = Milliseconds(CLOCK_MONOTONIC_COARSE);
    long long ticks = 0;
    std::int64_t age = 0;
    if (ReadStartTicks(ticks))
        age = Milliseconds(CLOCK_BOOTTIME) - ticks * 1000 / sysconf(_SC_CLK_TCK);
    const std::int64_t start = age > 0 ? now - age : now;
    std::int64_t unknown = 0;
    processStart.compare_exchange_strong(unknown, start != 0 ? start : 1);
    return processStart.load();
}

}  // namespace

std::uint32_t clock() {
    std::int64_t start = processStart.load(std::memory_order_relaxed);
    if (start == 0)
        start = FindProcessStart();
    return static_cast<std::uint32_t>(Milliseconds(CLOCK_MONOTONIC_COARSE) - start);
}

std::uint32_t GetTickCount() { return static_cast<std::uint32_t>(Milliseconds(CLOCK_MONOTONIC)); }

void Sleep(std::uint32_t milliseconds) {
    if (milliseconds == 0) {
        sched_yield();
        return;
    }
    if (milliseconds == INFINITE) {
        for (;;)
            pause();
    }
    const Deadline deadline(milliseconds);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, deadline.Get(), nullptr) == EINTR) {
    }
}

}  // namespace platform
