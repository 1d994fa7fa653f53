#include "utilities/platform/waitable.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <thread>
#include <vector>

#include "tests/support/eventually.h"
#include "tests/support/thread_state.h"
#include "utilities/platform/currentthread.h"
#include "utilities/platform/threadcontrol.h"
#include "utilities/platform/threadpriority.h"
#include "utilities/platform/threads.h"

namespace {

using namespace platform;

/// A foreign thread that runs `action` and tells its id; joined at the end.
struct Runner {
    explicit Runner(std::function<void()> action)
        : thread([this, action] {
              id = GetCurrentThreadId();
              action();
          }) {}
    bool IsAsleep() const {
        return Eventually([this] { return id != 0; }) && FallsAsleep(id);
    }
    std::atomic<std::uint32_t> id{0};
    std::jthread thread;
};

unsigned int Nothing(void*) { return 0; }

Handle HeldMutex() {
    Handle const mutex = CreateMutexA();
    WaitForSingleObject(mutex, 0);
    return mutex;
}

TEST(Waitable, EachGiftReachesOneWaiterAndClosingFailsTheOthers) {
    const struct {
        const char* name;
        Handle object;
        std::function<void(Handle)> give;
        int released, left;
    } rows[] = {
        {"four units", CreateSemaphoreA(0, 5),
         [](Handle h) {
             for (int i = 4; i > 0; --i)
                 ReleaseSemaphore(h);
         },
         3, 1},
        {"two sets", CreateEventA(false, false), [](Handle h) { SetEvent(h), SetEvent(h); }, 2, 0},
        {"set and reset", CreateEventA(false, false), [](Handle h) { SetEvent(h), ResetEvent(h); },
         1, 0},
        {"manual", CreateEventA(true, false), [](Handle h) { SetEvent(h), ResetEvent(h); }, 3, 0},
        {"a mutex that the giver holds", HeldMutex(), [](Handle) {}, 0, 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::atomic<int> released{0}, failed{0};
        const auto wait = [&](std::uint32_t limit) {
            const std::uint32_t result = WaitForSingleObject(row.object, limit);
            released += result == WAIT_OBJECT_0;
            failed += result == WAIT_FAILED;
        };
        {
            Runner one([&] { wait(INFINITE); }), two([&] { wait(INFINITE); });
            Runner three([&] { wait(60000); });
            ASSERT_TRUE(one.IsAsleep());
            ASSERT_TRUE(two.IsAsleep());
            ASSERT_TRUE(three.IsAsleep());
            row.give(row.object);
            EXPECT_TRUE(Eventually([&] { return released == row.released; }));
            int left = 0;
            while (left < 2 && WaitForSingleObject(row.object, 0) == WAIT_OBJECT_0)
                ++left;
            EXPECT_EQ(left, row.left);
            EXPECT_TRUE(CloseHandle(row.object));
        }
        EXPECT_EQ(released, row.released);
        EXPECT_EQ(failed, 3 - row.released);
    }
}

TEST(Waitable, NoWaitEndsEarlyUnderSignals) {
    struct sigaction ignoring = {};
    ignoring.sa_handler = [](int) {};  // without SA_RESTART
    ASSERT_EQ(sigaction(SIGUSR1, &ignoring, nullptr), 0);
    Handle const thread = _beginthreadex(Nothing, nullptr, CREATE_SUSPENDED, nullptr);
    for (Handle const object :
         {HeldMutex(), CreateSemaphoreA(0, 1), CreateEventA(true, false), thread}) {
        for (const std::uint32_t limit : {0u, 60u}) {
            std::atomic<bool> done{false};
            Runner waiter([&] {
                const auto begin = std::chrono::steady_clock::now();
                EXPECT_EQ(WaitForSingleObject(object, limit), WAIT_TIMEOUT);
                const auto taken = std::chrono::steady_clock::now() - begin;
                EXPECT_GE(taken, std::chrono::milliseconds(limit));
                EXPECT_LT(taken, std::chrono::milliseconds(limit + 5000));
                done = true;
            });
            while (!done) {
                pthread_kill(waiter.thread.native_handle(), SIGUSR1);
                std::this_thread::yield();
            }
        }
        EXPECT_TRUE((object != thread || TerminateThread(thread, 0)));
        EXPECT_TRUE(CloseHandle(object));
    }
    std::signal(SIGUSR1, SIG_DFL);
}

TEST(Waitable, ClosedAndForeignHandlesFail) {
    std::vector<Handle> stale = {CreateMutexA(), CreateSemaphoreA(1, 1), CreateEventA(true, true),
                                 _beginthreadex(Nothing, nullptr, 0, nullptr)};
    for (Handle const handle : stale)
        EXPECT_TRUE(CloseHandle(handle));
    Handle const now[] = {CreateMutexA(), CreateSemaphoreA(1, 1), CreateEventA(true, true)};
    int local = 0;
    for (const std::uintptr_t value : {std::uintptr_t{0}, std::uintptr_t{1}, ~std::uintptr_t{0},
                                       reinterpret_cast<std::uintptr_t>(&local)})
        stale.push_back(reinterpret_cast<Handle>(value));
    for (Handle const handle : stale) {
        EXPECT_EQ(WaitForSingleObject(handle, INFINITE), WAIT_FAILED) << handle;
        EXPECT_EQ((std::vector<bool>{ReleaseMutex(handle), ReleaseSemaphore(handle),
                                     SetEvent(handle), ResetEvent(handle), CloseHandle(handle),
                                     TerminateThread(handle, 0), SetThreadPriority(handle, 0)}),
                  std::vector<bool>(7))
            << handle;
        EXPECT_EQ(SuspendThread(handle) & ResumeThread(handle), COUNT_FAILED);
        EXPECT_EQ(GetThreadPriority(handle), THREAD_PRIORITY_ERROR_RETURN);
    }
    for (Handle const handle : now) {
        EXPECT_EQ(SuspendThread(handle), COUNT_FAILED) << "the handle of another kind";
        EXPECT_EQ(WaitForSingleObject(handle, 0), WAIT_OBJECT_0);
        EXPECT_TRUE(CloseHandle(handle));
    }
}

TEST(Waitable, ObjectsComeAndGoWhileOthersUseThem) {
    std::atomic<Handle> passing{CreateEventA(false, false)};
    std::atomic<bool> done{false};
    {
        const auto use = [&] {
            for (; !done; ReleaseMutex(passing))
                EXPECT_NE(WaitForSingleObject(passing, 1), WAIT_ABANDONED);
        };
        Runner user(use), other(use);
        for (int round = 0; round < 20000; ++round) {
            CloseHandle(passing.exchange(CreateMutexA()));
            CloseHandle(passing.exchange(CreateSemaphoreA(1, 1)));
        }
        done = true;
    }
    CloseHandle(passing);
}

}  // namespace
