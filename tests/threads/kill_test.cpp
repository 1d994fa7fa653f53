#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <regex>
#include <sstream>
#include <string>
#include <thread>

#include "tests/support/eventually.h"
#include "utilities/locks/lockobj.h"
#include "utilities/locks/mutexlist.h"
#include "utilities/threads/threadlist.h"
#include "utilities/threads/threadutils.h"

namespace {

constexpr unsigned int FOREVER = 0xFFFFFFFF;

class Worker : public SystemThread {
public:
    explicit Worker(std::function<void(Worker&)> work)
        : SystemThread("victim", nullptr), work_(std::move(work)) {}
    std::atomic<bool> arrived{false};

private:
    unsigned int ThreadEntryPoint() override {
        work_(*this);
        return 1;
    }
    std::function<void(Worker&)> work_;
};

std::string List() {
    std::ostringstream out;
    showMutexList(out, true);
    return out.str();
}

/// What `Terminate` prints, with N for the id.
std::string Killed(SystemThread& thread, unsigned int exitCode) {
    testing::internal::CaptureStdout();
    EXPECT_TRUE(thread.Terminate(exitCode));
    std::fflush(stdout);
    return std::regex_replace(testing::internal::GetCapturedStdout(), std::regex("\\[[1-9]\\d*\\]"),
                              "[N]");
}

constexpr char SUCCESS[] = "victim [N]\t terminating...  -> success!\n";

void Spin(Worker& self) noexcept {
    struct Frame {
        ~Frame() { ADD_FAILURE() << "a killed thread's frames aren't left"; }
    } const frame;
    try {
        self.arrived = true;
        for (;;)
            self.arrived = true;
    } catch (...) {
        ADD_FAILURE() << "a kill is no exception";
    }
}

}  // namespace

TEST(Kill, EndsAThreadThatRunsOrWaitsSuspendedToo) {
    MutexLock held("held by the killer");
    held.Lock();
    for (const bool waits : {false, true}) {
        for (unsigned int suspensions = 0; suspensions < 2; ++suspensions) {
            SCOPED_TRACE(testing::Message() << waits << ", suspended " << suspensions);
            ThreadList::deleteInstance();
            Worker worker([&](Worker& self) { waits ? held.Lock() : Spin(self); });
            ASSERT_TRUE(worker.Create(false, 0));
            const unsigned int id = worker.getThreadId();
            const std::string waiter = "| W: " + std::to_string(id);
            ASSERT_TRUE(Eventually([&] {
                return waits ? List().find(waiter) != std::string::npos : worker.arrived.load();
            }));
            EXPECT_EQ(suspensions > 0 ? worker.Suspend() : 0u, 0u);
            EXPECT_EQ(Killed(worker, 31), SUCCESS);
            EXPECT_EQ(worker.getHandle(), nullptr);
            EXPECT_EQ(worker.getThreadId(), 0u);
            EXPECT_EQ(worker.getProcessId(), id);
            EXPECT_EQ(worker.getExitCode(), 31u);
            EXPECT_FALSE(worker.WaitForThreadExit(FOREVER));
            EXPECT_EQ(ThreadList::getInstance()->getThreadInfo(0).m_ThreadId, id);
            EXPECT_EQ(List().find(waiter), std::string::npos) << "the dead don't wait";
        }
    }
    held.Unlock();
}

TEST(Kill, OfAThreadThatNeverRanAndByTheDestructor) {
    ThreadList::deleteInstance();
    Worker worker(Spin);
    ASSERT_TRUE(worker.Create(true, 0));
    EXPECT_EQ(Killed(worker, 4), SUCCESS);
    EXPECT_EQ(worker.getProcessId(), 0u);
    EXPECT_EQ(ThreadList::getInstance()->getThreadInfo(0).m_ThreadId, 0u);
    testing::internal::CaptureStdout();
    {
        Worker running(Spin);
        ASSERT_TRUE(running.Create(false, 0));
        ASSERT_TRUE(Eventually([&] { return running.arrived.load(); }));
    }
    std::fflush(stdout);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("-> success!"), std::string::npos);
}

TEST(Kill, HandsOnWhatTheThreadHeld) {
    MutexLock mutex("held by the dead");
    Worker worker([&](Worker& self) {
        mutex.Lock();
        mutex.Lock();
        Spin(self);
    });
    ASSERT_TRUE(worker.Create(false, 0));
    ASSERT_TRUE(Eventually([&] { return worker.arrived.load(); }));
    const std::string owner = "O:" + std::to_string(worker.getThreadId());
    EXPECT_FALSE(mutex.TryLock(0));
    EXPECT_NE(List().find(owner), std::string::npos);
    Killed(worker, 0);
    EXPECT_NE(List().find(owner), std::string::npos) << "until another one takes it";
    testing::internal::CaptureStderr();
    mutex.Lock();
    EXPECT_NE(testing::internal::GetCapturedStderr().find("(m_ThreadId == getOwnThreadId())"),
              std::string::npos);
    EXPECT_EQ(List().find(owner), std::string::npos);
}

TEST(Kill, OfItself) {
    ThreadList::deleteInstance();
    Worker worker([](Worker& self) noexcept {
        self.Terminate(12);
        ADD_FAILURE() << "Terminate of oneself doesn't return";
    });
    testing::internal::CaptureStdout();
    ASSERT_TRUE(worker.Create(true, 0));
    worker.Resume();
    worker.WaitForThreadExit(FOREVER);
    EXPECT_EQ(worker.getHandle(), nullptr);
    EXPECT_EQ(worker.getExitCode(), 12u);
    EXPECT_NE(worker.getProcessId(), 0u);
    std::fflush(stdout);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("-> success!\n"), std::string::npos);
}

TEST(Kill, MeetsTheThreadsOwnEndAndOtherKillers) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    std::atomic<unsigned int> finished{0};
    Worker worker([&](Worker&) { ++finished; });
    for (unsigned int round = 0; round < 300; ++round) {
        ASSERT_TRUE(worker.Create(round % 2 == 0, 0)) << round;
        const auto kill = [&] { EXPECT_TRUE(worker.Terminate(7)); };
        const auto wait = [&] {
            if (!worker.WaitForThreadExit(FOREVER))
                return;
            EXPECT_EQ(worker.getHandle(), nullptr);
            EXPECT_EQ(worker.getThreadId(), 0u);
            EXPECT_TRUE(worker.getExitCode() == 1 || worker.getExitCode() == 7);
        };
        std::thread others[] = {std::thread(kill), std::thread(wait),
                                std::thread([&] { worker.Resume(); })};
        kill();
        for (std::thread& other : others)
            other.join();
        EXPECT_EQ(worker.getExitCode(), 7u);
        EXPECT_EQ(worker.getHandle(), nullptr);
    }
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout().find("failed"), std::string::npos);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}
