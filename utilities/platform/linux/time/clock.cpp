#include "utilities/platform/clock.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "utilities/platform/inspection.h"
#include "utilities/platform/linux/files/opening.h"
#include "utilities/platform/linux/sync/deadline.h"
#include "utilities/platform/linux/sync/retry.h"
#include "utilities/platform/stopdeferral.h"
#include "utilities/platform/waitable.h"

namespace platform {

constinit ProcessStart processStart{};

namespace {

using ReadClock = int (*)(clockid_t, timespec*);

/// What `clock` reads with: from its first call on the kernel's own function, if there is one. The
/// C library's leads to the same, by a detour that takes as long as the reading.
constinit std::atomic<ReadClock> readClock{&clock_gettime};

ReadClock FindKernelFunction() {
    ReadClock found = nullptr;
    const StopDeferral untilClosed;
    if (void* const kernel = dlopen("linux-vdso.so.1", RTLD_LAZY | RTLD_NOLOAD)) {
        for (const char* const name : {"__vdso_clock_gettime", "__kernel_clock_gettime"}) {
            if (found == nullptr)
                found = reinterpret_cast<ReadClock>(dlsym(kernel, name));
        }
        dlclose(kernel);
    }
    return found != nullptr ? found : &clock_gettime;
}

std::int64_t Milliseconds(clockid_t source, ReadClock read = &clock_gettime) {
    timespec now{};
    read(source, &now);
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
}

/// Reads when the process started, in ticks since the system's start: the 22nd field of
/// /proc/self/stat. False where there is none. A kill is deferred: it would leave the descriptor
/// open.
bool ReadStartTicks(long long& ticks) {
    const StopDeferral untilClosed;
    char line[1024];
    const int file = OpenAtOnce("/proc/self/stat", O_RDONLY);
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

[[gnu::noinline]] std::int64_t FindProcessStart() {
    readClock.store(FindKernelFunction(), std::memory_order_relaxed);
    const std::int64_t now = Milliseconds(CLOCK_MONOTONIC_COARSE);
    long long ticks = 0;
    std::int64_t age = 0;
    if (ReadStartTicks(ticks))
        age = Milliseconds(CLOCK_BOOTTIME) - ticks * 1000 / sysconf(_SC_CLK_TCK);
    const std::int64_t start = age > 0 ? now - age : now;
    std::int64_t unknown = 0;
    processStart.onCalendar = Milliseconds(CLOCK_REALTIME) - (now - start);
    processStart.monotonic.compare_exchange_strong(unknown, start != 0 ? start : 1);
    return processStart.monotonic.load();
}

}  // namespace

std::uint32_t clock() {
    std::int64_t start = processStart.monotonic.load(std::memory_order_relaxed);
    if (start == 0)
        start = FindProcessStart();
    const ReadClock read = readClock.load(std::memory_order_relaxed);
    return static_cast<std::uint32_t>(Milliseconds(CLOCK_MONOTONIC_COARSE, read) - start);
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
