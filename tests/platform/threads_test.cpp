#include "utilities/platform/threads.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

#include "tests/support/eventually.h"
#include "tests/support/thread_state.h"
#include "utilities/platform/clock.h"

namespace {

using namespace platform;

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#else
void __lsan_disable() {}
#endif

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr int KILLS = 500;
constexpr long GROWTH = 200'000;  // the sanitizers keep what was freed
#else
constexpr int KILLS = 10'000;
constexpr long GROWTH = 1'000;
#endif

std::atomic<long> steps{0};

template <auto step>
unsigned int Repeat(void*) {
    for (;; ++steps)
        step();
}

/// What it holds when it is killed is lost.
constexpr auto Allocate = Repeat<[] { __lsan_disable(), std::make_unique<char[]>(300); }>;
constexpr auto Step = Repeat<[] {}>;

template <Handle* object>
unsigned int WaitFor(void*) {
    return WaitForSingleObject(*object, INFINITE);
}

struct MustNotRun {
    ~MustNotRun() { std::abort(); }
};

/// A thread with its handle and id.
struct Started {
    explicit Started(unsigned int (*start)(void*), void* argument = nullptr, unsigned int flags = 0)
        : handle(_beginthreadex(start, argument, flags, &id)) {}
    ~Started() { CloseHandle(handle); }
    Started(const Started&) = delete;
    Started& operator=(const Started&) = delete;
    bool Ends(std::uint32_t limit = 20000) const {
        return WaitForSingleObject(handle, limit) == WAIT_OBJECT_0;
    }

    std::uint32_t id = 0;
    Handle handle;
};

TEST(Threads, AForkedChildHasAnIdOfItsOwnAndWhatItsParentHeld) {
    Handle const mutex = CreateMutexA();
    WaitForSingleObject(mutex, 0);
    const pid_t child = fork();
    if (child == 0)
        _exit(static_cast<pid_t>(GetCurrentThreadId()) == getpid() && ReleaseMutex(mutex) ? 0 : 1);
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(ReleaseMutex(mutex) && CloseHandle(mutex));
    EXPECT_EQ(_beginthreadex(nullptr, nullptr, 0, nullptr), nullptr);
}

TEST(Threads, SuspensionsNest) {
    Started thread(Step, nullptr, CREATE_SUSPENDED);
    const long before = steps;
    EXPECT_EQ(SuspendThread(thread.handle), 1u);
    EXPECT_EQ(ResumeThread(thread.handle), 2u);
    EXPECT_EQ(steps, before);
    EXPECT_EQ(ResumeThread(thread.handle), 1u);
    EXPECT_EQ(ResumeThread(thread.handle), 0u);
    for (int round = 0; round < 20; ++round) {
        const long start = steps;
        ASSERT_TRUE(Eventually([start] { return steps != start; }));
        EXPECT_EQ(SuspendThread(thread.handle), 0u);
        const long held = steps;
        EXPECT_TRUE(FallsAsleep(thread.id));
        EXPECT_EQ(steps, held);
        EXPECT_EQ(ResumeThread(thread.handle), 1u);
    }
    EXPECT_TRUE(TerminateThread(thread.handle, 0));
    EXPECT_EQ(SuspendThread(thread.handle), COUNT_FAILED);
}

TEST(Threads, AReadGoesOnBehindASuspension) {
    static int ends[2];
    static std::atomic<char> byte;
    ASSERT_EQ(pipe(ends), 0);
    Started thread([](void*) -> unsigned int {
        char read = 0;
        byte = ::read(ends[0], &read, 1) == 1 ? read : '!';
        return 0;
    });
    ASSERT_TRUE(FallsAsleep(thread.id));
    EXPECT_EQ(SuspendThread(thread.handle), 0u);
    EXPECT_EQ(write(ends[1], "x", 1), 1);
    EXPECT_FALSE(thread.Ends(20));
    EXPECT_EQ(ResumeThread(thread.handle), 1u);
    EXPECT_TRUE(thread.Ends());
    EXPECT_EQ(byte, 'x');
    close(ends[0]), close(ends[1]);
}

TEST(Threads, AKillTakesEffectWhereverTheThreadIs) {
    static int ends[2];
    static Handle mutex, semaphore, event;
    ASSERT_EQ(pipe(ends), 0);
    const struct {
        const char* place;
        unsigned int (*start)(void*);
        bool sleeps;
    } rows[] = {
        {"busy loop in frames that know no exception",
         [](void*) noexcept -> unsigned int {
             const MustNotRun frame;
             try {
                 return Step(nullptr);
             } catch (...) {
                 std::abort();
             }
         },
         false},
        {"allocations", Allocate, false},
        {"output", Repeat<[] { std::printf("%s", ""); }>, false},
        {"waits that succeed", Repeat<[] { WaitForSingleObject(event, 0), SetEvent(event); }>,
         false},
        {"read",
         [](void*) -> unsigned int {
             char byte;
             return unsigned{read(ends[0], &byte, 1) != 0};
         },
         true},
        {"sleep", [](void*) -> unsigned int { return Sleep(INFINITE), 0; }, true},
        {"mutex", WaitFor<&mutex>, true},
        {"semaphore", WaitFor<&semaphore>, true},
        {"event", WaitFor<&event>, true},
    };
    mutex = CreateMutexA(), semaphore = CreateSemaphoreA(0, 1), event = CreateEventA(false, false);
    WaitForSingleObject(mutex, INFINITE);
    for (const auto& row : rows) {
        for (const bool suspended : {false, true}) {
            SCOPED_TRACE(std::string(row.place) + (suspended ? ", suspended" : ""));
            ResetEvent(event);
            const long before = steps;
            Started thread(row.start);
            ASSERT_TRUE(row.sleeps ? FallsAsleep(thread.id)
                                   : Eventually([&] { return steps != before; }));
            EXPECT_EQ(suspended ? SuspendThread(thread.handle) : 0u, 0u);
            EXPECT_TRUE(TerminateThread(thread.handle, 9));
            // Its task is listed for a moment after it has been joined.
            EXPECT_TRUE(Eventually([&] { return ThreadStateOf(thread.id) == '\0'; }));
            EXPECT_TRUE(thread.Ends(0));
            EXPECT_TRUE(TerminateThread(thread.handle, 9)) << "it has ended";
        }
    }
    EXPECT_TRUE(ReleaseMutex(mutex) && ReleaseSemaphore(semaphore) && SetEvent(event));
    for (Handle const object : {mutex, semaphore, event}) {
        EXPECT_EQ(WaitForSingleObject(object, 0), WAIT_OBJECT_0) << "taken by a dead waiter";
        CloseHandle(object);
    }
    close(ends[0]), close(ends[1]);
}

TEST(Threads, KillsInALoopLeaveNothingBehind) {
    const auto descriptors = [] {
        const std::filesystem::directory_iterator all("/proc/self/fd");
        return std::distance(begin(all), end(all));
    };
    const auto kill = [](int round) {
        Started thread(Allocate, nullptr, round % 2 == 0 ? CREATE_SUSPENDED : 0);
        const long before = steps;
        EXPECT_TRUE(round % 16 != 1 || Eventually([before] { return steps != before; }));
        EXPECT_TRUE(TerminateThread(thread.handle, 0));
    };
    for (int round = 0; round < 200; ++round)
        kill(round);
    const auto files = descriptors();
    const long threads = StatusOf("Threads");
    const long memory = StatusOf("VmRSS");
    for (int round = 0; round < KILLS; ++round)
        kill(round);
    EXPECT_EQ(descriptors(), files);
    EXPECT_TRUE(Eventually([threads] { return StatusOf("Threads") <= threads; }));
    EXPECT_LT(StatusOf("VmRSS") - memory, GROWTH);
}

TEST(Threads, AnEndedThreadRunsNoFramesAndGoesWithoutAHandle) {
    static std::atomic<int> ended;
    struct Local {
        ~Local() { ++ended; }
    };
    const long threads = StatusOf("Threads");
    const auto end = [](void*) noexcept -> unsigned int {
        thread_local Local local;
        static_cast<void>(&local);
        const MustNotRun frame;
        _endthreadex(3);
    };
    for (int round = 0; round < 20; ++round)
        EXPECT_TRUE(CloseHandle(_beginthreadex(end, nullptr, 0, nullptr)));
    EXPECT_TRUE(Eventually([threads] { return StatusOf("Threads") <= threads; }));
    EXPECT_EQ(ended, 20);
}

TEST(Threads, RequestsWaitForTheLastHoldOff) {
    static std::atomic<int> stage;
    for (const bool kill : {false, true}) {
        stage = 0;
        Started thread([](void*) -> unsigned int {
            {
                const HoldOff outer, inner;
                for (stage = 1; stage == 1;)
                    ++steps;
                WaitForSingleObject(nullptr, 0);
                stage = 3;
            }
            stage = 4;
            return 0;
        });
        ASSERT_TRUE(Eventually([] { return stage == 1; }));
        std::atomic<std::uint32_t> asker{0};
        std::thread asking([&] {
            asker = GetCurrentThreadId();
            EXPECT_TRUE(kill ? TerminateThread(thread.handle, 0) : !SuspendThread(thread.handle));
            EXPECT_EQ(stage, 3);
        });
        ASSERT_TRUE(Eventually([&] { return asker != 0; }));
        ASSERT_TRUE(FallsAsleep(asker)) << "it waits for the thread to take notice";
        stage = 2;
        asking.join();
        EXPECT_EQ(ResumeThread(thread.handle), kill ? COUNT_FAILED : 1u);
        EXPECT_TRUE(thread.Ends());
        EXPECT_EQ(stage, kill ? 3 : 4);
    }
}

TEST(Threads, TwoThatStopEachOtherBothStop) {
    static Handle handles[2];
    static bool kill;
    const auto stop = [](void* other) -> unsigned int {
        Handle const target = *static_cast<Handle*>(other);
        return kill ? unsigned{TerminateThread(target, 0)} : SuspendThread(target);
    };
    for (int round = 0; round < 200; ++round) {
        kill = round % 2 == 0;
        Started one(stop, &handles[1], CREATE_SUSPENDED);
        Started two(stop, &handles[0], CREATE_SUSPENDED);
        handles[0] = one.handle, handles[1] = two.handle;
        ASSERT_TRUE(Eventually([&] {
            ResumeThread(one.handle), ResumeThread(two.handle);
            return one.Ends(0) && two.Ends(0);
        }));
    }
}

TEST(Threads, PrioritiesAreNiceValues) {
    Started thread(Step, nullptr, CREATE_SUSPENDED);
    const auto niceOf = [](std::uint32_t id) { return getpriority(PRIO_PROCESS, id); };
    EXPECT_EQ(GetThreadPriority(thread.handle), 0);
    // What raising needs, a system may withhold.
    const bool raises = geteuid() == 0;
    int last = niceOf(thread.id), held = 0;
    for (const int priority : {-1, -2, -15, 0, 1, 2, 15}) {
        const bool takesEffect = priority < 0 || raises;
        EXPECT_EQ(SetThreadPriority(thread.handle, priority), takesEffect) << priority;
        held = takesEffect ? priority : held;
        EXPECT_EQ(GetThreadPriority(thread.handle), held);
        const int nice = niceOf(thread.id);
        EXPECT_TRUE(!takesEffect || (priority < 0 ? nice > last : nice < last)) << priority;
        last = nice;
    }
    for (const int invalid : {-16, -3, 3, 14, 16})
        EXPECT_FALSE(SetThreadPriority(thread.handle, invalid)) << invalid;
    EXPECT_TRUE(TerminateThread(thread.handle, 0));
}

}  // namespace
