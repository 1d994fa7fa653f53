#include "utilities/platform/waitable.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/eventually.h"
#include "tests/support/thread_state.h"
#include "utilities/platform/threads.h"

namespace {

using namespace platform;

/// A thread that runs `action` and tells its id; joined at the end.
class Runner {
public:
    explicit Runner(std::function<void()> action)
        : thread([this, work = std::move(action)] {
              id = GetCurrentThreadId();
              work();
          }) {}
    ~Runner() { thread.join(); }
    bool IsAsleep() const {
        return Eventually([this] { return id != 0; }) && FallsAsleep(id);
    }
    pthread_t Native() { return thread.native_handle(); }

private:
    std::atomic<std::uint32_t> id{0};
    std::thread thread;
};

unsigned int Nothing(void*) { return 0; }

TEST(Waitable, AnEndedHolderLeavesAnAbandonedMutexOfDepthOne) {
    static Handle mutex;
    static const auto acquireTwice = [] {
        WaitForSingleObject(mutex, INFINITE);
        WaitForSingleObject(mutex, INFINITE);
    };
    const struct {
        const char* end;
        unsigned int (*start)(void*);
    } rows[] = {
        {"return", [](void*) { return acquireTwice(), 0u; }},
        {"end", [](void*) -> unsigned int { acquireTwice(), _endthreadex(1); }},
        {"kill of itself",
         [](void* self) {
             return acquireTwice(), unsigned{TerminateThread(*static_cast<Handle*>(self), 1)};
         }},
        {"kill",
         [](void*) -> unsigned int {
             for (acquireTwice();;)
                 std::this_thread::yield();
         }},
        {"foreign thread", nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.end);
        mutex = CreateMutexA();
        if (row.start == nullptr) {
            Runner{acquireTwice};
        } else {
            Handle thread = _beginthreadex(row.start, &thread, CREATE_SUSPENDED, nullptr);
            ResumeThread(thread);
            if (std::string(row.end) == "kill") {
                ASSERT_TRUE(Eventually([] {
                    const bool free = WaitForSingleObject(mutex, 0) == WAIT_OBJECT_0;
                    return !free || !ReleaseMutex(mutex);
                }));
                EXPECT_TRUE(TerminateThread(thread, 1));
            }
            EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
            CloseHandle(thread);
        }
        EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_ABANDONED);
        EXPECT_TRUE(ReleaseMutex(mutex));
        EXPECT_FALSE(ReleaseMutex(mutex));
        EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0);
        EXPECT_TRUE(CloseHandle(mutex));
    }
}

TEST(Waitable, EachGiftReachesOneWaiterWhateverFollows) {
    const struct {
        const char* name;
        Handle object;
        std::function<void(Handle)> give;
        int released, left;
    } rows[] = {
        {"two units", CreateSemaphoreA(0, 5),
         [](Handle h) { ReleaseSemaphore(h), ReleaseSemaphore(h); }, 2, 0},
        {"two sets", CreateEventA(false, false), [](Handle h) { SetEvent(h), SetEvent(h); }, 2, 0},
        {"set and reset", CreateEventA(false, false), [](Handle h) { SetEvent(h), ResetEvent(h); },
         1, 0},
        {"manual", CreateEventA(true, false), [](Handle h) { SetEvent(h), ResetEvent(h); }, 3, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::atomic<int> released{0};
        const auto wait = [&] {
            released += WaitForSingleObject(row.object, INFINITE) == WAIT_OBJECT_0;
        };
        {
            Runner one(wait), two(wait), three(wait);
            ASSERT_TRUE(one.IsAsleep() && two.IsAsleep() && three.IsAsleep());
            row.give(row.object);
            EXPECT_TRUE(Eventually([&] { return released == row.released; }));
            int left = 0;
            while (WaitForSingleObject(row.object, 0) == WAIT_OBJECT_0)
                ++left;
            EXPECT_EQ(left, row.left);
            EXPECT_EQ(released, row.released);
            CloseHandle(row.object);
        }
        EXPECT_EQ(released, row.released) << "a wait on a closed handle succeeded";
    }
}

TEST(Waitable, NoWaitEndsEarlyUnderSignals) {
    struct sigaction ignoring = {};
    ignoring.sa_handler = [](int) {};  // without SA_RESTART
    ASSERT_EQ(sigaction(SIGUSR1, &ignoring, nullptr), 0);
    Handle const held = CreateMutexA();
    WaitForSingleObject(held, 0);
    std::uint32_t id = 0;
    Handle const thread = _beginthreadex(Nothing, nullptr, CREATE_SUSPENDED, &id);
    Handle const objects[] = {held, CreateSemaphoreA(0, 1), CreateEventA(true, false), thread};
    for (Handle const object : objects) {
        for (const std::uint32_t limit : {0u, 1u, 60u}) {
            std::uint32_t result = 0;
            std::chrono::steady_clock::duration taken{};
            std::atomic<bool> done{false};
            {
                Runner waiter([&] {
                    const auto begin = std::chrono::steady_clock::now();
                    result = WaitForSingleObject(object, limit);
                    taken = std::chrono::steady_clock::now() - begin;
                    done = true;
                });
                while (!done) {
                    pthread_kill(waiter.Native(), SIGUSR1);
                    std::this_thread::yield();
                }
            }
            EXPECT_EQ(result, WAIT_TIMEOUT);
            EXPECT_GE(taken, std::chrono::milliseconds(limit));
            EXPECT_LT(taken, std::chrono::milliseconds(limit + 5000));
        }
    }
    std::signal(SIGUSR1, SIG_DFL);
    EXPECT_TRUE(TerminateThread(thread, 0));
    for (Handle const object : objects)
        EXPECT_TRUE(CloseHandle(object));
}

TEST(Waitable, ClosedAndForeignHandlesFail) {
    Handle const thread = _beginthreadex(Nothing, nullptr, 0, nullptr);
    std::vector<Handle> stale = {CreateMutexA(), CreateSemaphoreA(1, 1), CreateEventA(true, true),
                                 thread};
    for (Handle const handle : stale)
        EXPECT_TRUE(CloseHandle(handle));
    Handle const now[] = {CreateMutexA(), CreateSemaphoreA(0, 1), CreateEventA(true, false)};
    int local = 0;
    for (const std::uintptr_t value :
         {std::uintptr_t{0}, std::uintptr_t{1}, ~std::uintptr_t{0},
          reinterpret_cast<std::uintptr_t>(&local), std::uintptr_t{1} << 32})
        stale.push_back(reinterpret_cast<Handle>(value));
    for (Handle const handle : stale) {
        EXPECT_EQ(WaitForSingleObject(handle, INFINITE), WAIT_FAILED) << handle;
        EXPECT_FALSE(ReleaseMutex(handle) || ReleaseSemaphore(handle) || SetEvent(handle) ||
                     ResetEvent(handle) || CloseHandle(handle) || TerminateThread(handle, 0) ||
                     SetThreadPriority(handle, 0))
            << handle;
        EXPECT_EQ(SuspendThread(handle) & ResumeThread(handle), COUNT_FAILED);
        EXPECT_EQ(GetThreadPriority(handle), THREAD_PRIORITY_ERROR_RETURN);
    }
    for (Handle const handle : now) {
        EXPECT_EQ(WaitForSingleObject(handle, 0), handle == now[0] ? WAIT_OBJECT_0 : WAIT_TIMEOUT);
        EXPECT_EQ(SuspendThread(handle), COUNT_FAILED) << "the handle of another kind";
        EXPECT_TRUE(CloseHandle(handle));
    }
}

TEST(Waitable, MutexesExcludeWhileObjectsComeAndGo) {
    Handle const mutex = CreateMutexA();
    std::atomic<Handle> passing{CreateEventA(false, false)};
    std::atomic<bool> done{false};
    long guarded = 0;
    long expected = 0;
    {
        Runner closer([&] {
            while (!done) {
                CloseHandle(passing.exchange(CreateMutexA()));
                CloseHandle(passing.exchange(CreateSemaphoreA(1, 1)));
            }
        });
        Runner user([&] {
            while (!done) {
                const std::uint32_t result = WaitForSingleObject(passing, 0);
                EXPECT_TRUE(result != WAIT_ABANDONED);
                ReleaseMutex(passing);
            }
        });
        std::atomic<long> acquired{0};
        const auto count = [&] {
            for (int round = 0; round < 20000; ++round) {
                if (WaitForSingleObject(mutex, round % 3 == 0 ? 1 : INFINITE) != WAIT_OBJECT_0)
                    continue;
                ++guarded;
                ++acquired;
                EXPECT_TRUE(ReleaseMutex(mutex));
            }
        };
        { Runner one(count), two(count), three(count); }
        done = true;
        expected = acquired;
    }
    EXPECT_EQ(guarded, expected);
    CloseHandle(passing);
    CloseHandle(mutex);
}

}  // namespace
