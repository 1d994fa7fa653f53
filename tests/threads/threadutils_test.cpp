#include "utilities/threads/threadutils.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <regex>
#include <sstream>
#include <string>

#include "tests/support/eventually.h"
#include "utilities/locks/lockobj.h"
#include "utilities/locks/mutexlist.h"
#include "utilities/threads/threadlist.h"

namespace {

constexpr unsigned int FOREVER = 0xFFFFFFFF;

/// Runs a function on its thread.
class Worker : public SystemThread {
public:
    explicit Worker(std::function<unsigned int()> work = {}, const std::string& name = "worker")
        : SystemThread(name, nullptr), work_(std::move(work)) {}
    using SystemThread::EndThread;

    /// The row of the table of states, and the exit code.
    std::string State() const {
        const unsigned int started = startedAs.load();
        const auto text = [&](unsigned int id) {
            return id == 0 ? "0 " : started == 0 || id == started ? "set " : "wrong ";
        };
        bool isListed = false;
        for (int i = 0; i < 256; ++i) {
            const auto info =
                ThreadList::getInstance()->getThreadInfo(static_cast<unsigned char>(i));
            isListed = isListed || (info.m_ThreadId != 0 && info.m_ThreadId == started);
        }
        return (getHandle() != nullptr ? "set " : "0 ") + std::string(text(getThreadId())) +
               text(getProcessId()) + (isListed ? "listed " : "- ") + std::to_string(getExitCode());
    }
    std::atomic<unsigned int> startedAs{0};

private:
    unsigned int ThreadEntryPoint() override {
        startedAs = static_cast<unsigned int>(gettid());
        return work_ ? work_() : 0;
    }
    std::function<unsigned int()> work_;
};

/// What is printed on the standard output, ids as in "[N]".
std::string Console(const std::function<void()>& action) {
    testing::internal::CaptureStdout();
    action();
    std::fflush(stdout);
    return std::regex_replace(testing::internal::GetCapturedStdout(), std::regex("\\[[1-9]\\d*\\]"),
                              "[N]");
}

std::string Succeeds(const std::string& start) {
    return start + "\t terminating...  -> success!\n";
}

}  // namespace

TEST(SystemThread, WithoutAThreadAnswersSo) {
    Worker worker;
    EXPECT_EQ(worker.State(), "0 0 0 - 0");
    EXPECT_EQ(worker.Suspend(), 0xFFFFFFFF);
    EXPECT_EQ(worker.Resume(), 0xFFFFFFFF);
    EXPECT_FALSE(worker.WaitForThreadExit(0));
    worker.setPriority(SystemThread::E_THREAD_PRIORITY_LOWEST);
    EXPECT_EQ(worker.getPriority(), SystemThread::E_THREAD_PRIORITY_NORMAL);
    worker.setThreadName("renamed");
    EXPECT_EQ(Console([&] { EXPECT_TRUE(worker.Terminate(5)); }), Succeeds("renamed [0]"));
    EXPECT_EQ(worker.State(), "0 0 0 - 5");
    EXPECT_EQ(Console([] { SystemThread never("", nullptr); }), Succeeds(" [0]"));
}

TEST(SystemThread, GoesThroughItsStatesAgainAndAgain) {
    EventLock running, leave;
    Worker worker([&] {
        running.Set();
        leave.Wait();
        return 42u;
    });
    ThreadList::deleteInstance();
    for (int round = 0; round < 3; ++round) {
        const std::string code = round == 0 ? "0" : "42";
        worker.startedAs = 0;
        ASSERT_TRUE(worker.Create(true, round));
        EXPECT_EQ(worker.State(), "set set 0 - " + code);
        EXPECT_FALSE(worker.WaitForThreadExit(20));
        EXPECT_EQ(worker.startedAs, 0u) << "it runs only after Resume";
        EXPECT_EQ(worker.Suspend(), 1u);
        EXPECT_EQ(worker.Resume(), 2u);
        EXPECT_EQ(worker.Resume(), 1u);
        ASSERT_TRUE(running.Wait());
        EXPECT_EQ(worker.State(), "set set set listed " + code);
        EXPECT_FALSE(worker.Create(false, 0));
        EXPECT_EQ(worker.Resume(), 0u);
        EXPECT_EQ(worker.getPriority(), SystemThread::E_THREAD_PRIORITY_NORMAL);
        worker.setPriority(SystemThread::E_THREAD_PRIORITY_LOWEST);
        EXPECT_EQ(worker.getPriority(), SystemThread::E_THREAD_PRIORITY_LOWEST);
        EXPECT_FALSE(worker.WaitForThreadExit(0));
        leave.Set();
        EXPECT_TRUE(worker.WaitForThreadExit(FOREVER) || worker.getHandle() == nullptr);
        EXPECT_EQ(worker.State(), "0 0 0 - 42");
        EXPECT_FALSE(worker.WaitForThreadExit(FOREVER)) << "there is none any more";
    }
}

TEST(SystemThread, RunsItsFunctionWithItselfOrNothing) {
    SystemThread named("named", [](SystemThread* self) {
        EXPECT_EQ(self->getThreadId(), static_cast<unsigned int>(gettid()));
        EXPECT_EQ(self->getThreadId(), self->getProcessId());
        char shown[16];
        EXPECT_EQ(pthread_getname_np(pthread_self(), shown, sizeof shown), 0);
        EXPECT_STREQ(shown, "named");
        MutexLock mutex("of the thread");
        mutex.Lock();
        std::ostringstream list;
        showMutexList(list, false);
        EXPECT_NE(list.str().find("O:" + std::to_string(gettid()) + "\n"), std::string::npos);
        mutex.Unlock();
        return static_cast<unsigned int>(self->getThreadName().size());
    });
    ASSERT_TRUE(named.Create(false, 0));
    EXPECT_TRUE(Eventually([&] { return named.getHandle() == nullptr; }));
    EXPECT_EQ(named.getExitCode(), 5u);
    SystemThread empty("empty", nullptr);
    EXPECT_TRUE(empty.Terminate(9));
    ASSERT_TRUE(empty.Create(false, 0));
    EXPECT_TRUE(Eventually([&] { return empty.getHandle() == nullptr; }));
    EXPECT_EQ(empty.getExitCode(), 0u);
}

TEST(SystemThread, EndThreadLeavesItsIdAndItsEntry) {
    ThreadList::deleteInstance();
    Worker worker([&]() noexcept -> unsigned int {
        worker.EndThread(77);
        return 1;
    });
    ASSERT_TRUE(worker.Create(true, 0));
    worker.Resume();
    worker.WaitForThreadExit(FOREVER);
    EXPECT_EQ(worker.State(), "0 0 set listed 77");
    ASSERT_TRUE(worker.Create(true, 0)) << "the next thread starts afresh";
    EXPECT_EQ(worker.getProcessId(), 0u);
    worker.Resume();
    worker.WaitForThreadExit(FOREVER);
}
