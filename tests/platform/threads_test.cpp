#include "utilities/platform/threads.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
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

unsigned int Step(void*) {
    for (;;)
        ++steps;
}

/// What it holds when it is killed is lost.
unsigned int Allocate(void*) {
    __lsan_disable();
    for (;; ++steps)
        std::make_unique<char[]>(300);
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
    bool Ends() const { return WaitForSingleObject(handle, 20000) == WAIT_OBJECT_0; }

    std::uint32_t id = 0;
    Handle handle;
};

TEST(Threads, IdsAreTheKernels) {
    static std::atomic<std::uint32_t> ids[2];
    Started thread([](void*) -> unsigned int {
        ids[0] = GetCurrentThreadId();
        ids[1] = static_cast<std::uint32_t>(gettid());
        return 0;
    });
    EXPECT_TRUE(thread.Ends());
    EXPECT_NE(thread.id, 0u);
    EXPECT_EQ(thread.id, ids[0]);
    EXPECT_EQ(thread.id, ids[1]);
    EXPECT_EQ(GetCurrentThreadId(), static_cast<std::uint32_t>(gettid()));
    Handle const mutex = CreateMutexA();
    WaitForSingleObject(mutex, 0);
    const pid_t child = fork();
    if (child == 0)
        _exit(GetCurrentThreadId() == static_cast<std::uint32_t>(getpid()) && ReleaseMutex(mutex)
                  ? 0
                  : 1);
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(ReleaseMutex(mutex) && CloseHandle(mutex));
    std::uint32_t untouched = 7;
    EXPECT_EQ(_beginthreadex(nullptr, nullptr, 0, &untouched), nullptr);
    EXPECT_EQ(untouched, 7u);
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
        EXPECT_EQ(SuspendThread(thread.handle), 1u);
        EXPECT_TRUE(FallsAsleep(thread.id));
        EXPECT_EQ(steps, held);
        EXPECT_EQ(ResumeThread(thread.handle), 2u);
        EXPECT_EQ(ResumeThread(thread.handle), 1u);
    }
    EXPECT_TRUE(TerminateThread(thread.handle, 0));
    EXPECT_EQ(SuspendThread(thread.handle), COUNT_FAILED);
}

TEST(Threads, OneSuspendsItselfAndAReadGoesOn) {
    static int ends[2];
    static std::atomic<std::uint32_t> count;
    ASSERT_EQ(pipe(ends), 0);
    Handle own = nullptr;
    Started thread(
        [](void* self) -> unsigned int {
            count = 100 + SuspendThread(*static_cast<Handle*>(self));
            char byte = 0;
            if (read(ends[0], &byte, 1) == 1)
                count = static_cast<std::uint32_t>(byte);
            return 0;
        },
        &own, CREATE_SUSPENDED);
    own = thread.handle;
    ResumeThread(thread.handle);
    ASSERT_TRUE(FallsAsleep(thread.id));
    EXPECT_EQ(count, 0u);
    ASSERT_TRUE(Eventually([&] { return ResumeThread(thread.handle) == 1; }));
    ASSERT_TRUE(Eventually([] { return count == 100; }) && FallsAsleep(thread.id));
    EXPECT_EQ(SuspendThread(thread.handle), 0u);
    EXPECT_EQ(write(ends[1], "x", 1), 1);
    EXPECT_EQ(WaitForSingleObject(thread.handle, 20), WAIT_TIMEOUT);
    EXPECT_EQ(ResumeThread(thread.handle), 1u);
    EXPECT_TRUE(thread.Ends());
    EXPECT_EQ(count, static_cast<std::uint32_t>('x'));
    close(ends[0]), close(ends[1]);
}

TEST(Threads, AKillTakesEffectWhereverTheThreadIs) {
    static int ends[2];
    static Handle mutex, semaphore, event, held;
    ASSERT_EQ(pipe(ends), 0);
    const struct {
        const char* place;
        unsigned int (*start)(void*);
        bool sleeps;
    } rows[] = {
        {"busy loop", [](void*) -> unsigned int { return Step(nullptr); }, false},
        {"noexcept frame",
         [](void*) noexcept -> unsigned int {
             const MustNotRun frame;
             return Step(nullptr);
         },
         false},
        {"handler of all",
         [](void*) -> unsigned int {
             try {
                 return Step(nullptr);
             } catch (...) {
                 std::abort();
             }
         },
         false},
        {"allocations", Allocate, false},
        {"output",
         [](void*) -> unsigned int {
             for (;; ++steps)
                 std::printf("%s", "");
         },
         false},
        {"lock and unlock",
         [](void*) -> unsigned int {
             for (;; ++steps)
                 WaitForSingleObject(event, 0), SetEvent(event), ReleaseMutex(held);
         },
         false},
        {"read",
         [](void*) -> unsigned int {
             char byte;
             return unsigned{read(ends[0], &byte, 1) != 0};
         },
         true},
        {"sleep", [](void*) -> unsigned int { return Sleep(INFINITE), 0; }, true},
        {"mutex", [](void*) -> unsigned int { return WaitForSingleObject(mutex, INFINITE); }, true},
        {"semaphore",
         [](void*) -> unsigned int { return WaitForSingleObject(semaphore, INFINITE); }, true},
        {"event", [](void*) -> unsigned int { return WaitForSingleObject(event, INFINITE); }, true},
    };
    mutex = CreateMutexA(), held = CreateMutexA(), semaphore = CreateSemaphoreA(0, 1);
    event = CreateEventA(false, false);
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
            EXPECT_EQ(WaitForSingleObject(thread.handle, 0), WAIT_OBJECT_0);
            EXPECT_TRUE(TerminateThread(thread.handle, 9)) << "it has ended";
        }
    }
    EXPECT_TRUE(ReleaseMutex(mutex) && ReleaseSemaphore(semaphore) && SetEvent(event));
    for (Handle const object : {mutex, semaphore, event}) {
        EXPECT_EQ(WaitForSingleObject(object, 0), WAIT_OBJECT_0) << "taken by a dead waiter";
        CloseHandle(object);
    }
    CloseHandle(held);
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
                const HoldOff outer;
                const HoldOff inner;
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
            EXPECT_EQ(
                kill ? unsigned{!TerminateThread(thread.handle, 0)} : SuspendThread(thread.handle),
                0u);
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
        ResumeThread(one.handle), ResumeThread(two.handle);
        const auto hasEnded = [](Started& thread) {
            return WaitForSingleObject(thread.handle, 0) == WAIT_OBJECT_0;
        };
        ASSERT_TRUE(Eventually([&] {
            ResumeThread(one.handle), ResumeThread(two.handle);
            return hasEnded(one) && hasEnded(two);
        }));
    }
}

TEST(Threads, PrioritiesAreNiceValues) {
    Started thread(Step, nullptr, CREATE_SUSPENDED);
    const auto niceOf = [](std::uint32_t id) { return getpriority(PRIO_PROCESS, id); };
    EXPECT_EQ(GetThreadPriority(thread.handle), 0);
    int last = niceOf(thread.id);
    for (const int priority : {-1, -2, -15}) {
        EXPECT_TRUE(SetThreadPriority(thread.handle, priority)) << priority;
        EXPECT_EQ(GetThreadPriority(thread.handle), priority);
        EXPECT_GT(niceOf(thread.id), last) << priority;
        last = niceOf(thread.id);
    }
    for (const int invalid : {-16, -3, 3, 14, 16})
        EXPECT_FALSE(SetThreadPriority(thread.handle, invalid)) << invalid;
    // What raising needs, a system may withhold.
    const bool raises = geteuid() == 0;
    for (const int priority : {0, 1, 2, 15}) {
        EXPECT_EQ(SetThreadPriority(thread.handle, priority), raises) << priority;
        EXPECT_EQ(GetThreadPriority(thread.handle), raises ? priority : -15);
        EXPECT_EQ(niceOf(thread.id) < last, raises) << priority;
        last = niceOf(thread.id);
    }
    EXPECT_TRUE(TerminateThread(thread.handle, 0));
}

}  // namespace
