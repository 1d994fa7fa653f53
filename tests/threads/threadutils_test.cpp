#include "utilities/threads/threadutils.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <latch>
#include <regex>
#include <semaphore>
#include <sstream>
#include <string>
#include <thread>

#include "tests/support/eventually.h"
#include "tests/support/report_of.h"
#include "utilities/locks/lockobj.h"
#include "utilities/locks/mutexlist.h"
#include "utilities/threads/threadlist.h"

namespace {

using namespace std::chrono_literals;

constexpr unsigned int FOREVER = 0xFFFFFFFF;

/// Runs a function on its thread.
class Worker : public SystemThread {
public:
    using Work = std::function<unsigned int(Worker&)>;
    explicit Worker(Work work = {}) : SystemThread("worker", nullptr), toDo(std::move(work)) {}
    using SystemThread::EndThread;
    unsigned int ThreadEntryPoint() override {
        started = static_cast<unsigned int>(gettid());
        return toDo(*this);
    }

    /// The row of the table of states, and the exit code.
    std::string State() const {
        const auto text = [this](unsigned int id) {
            return id == 0 ? "0 " : started == 0 || id == started ? "set " : "wrong ";
        };
        bool isListed = false;
        for (unsigned char i = 0; started != 0 && i < 255; ++i)
            isListed |= ThreadList::getInstance()->getThreadInfo(i).m_ThreadId == started;
        return std::string(getHandle() != nullptr ? "set " : "0 ") + text(getThreadId()) +
               text(getProcessId()) + (isListed ? "listed " : "- ") + std::to_string(getExitCode());
    }
    std::atomic<unsigned int> started{0};

private:
    Work toDo;
};

/// What is printed on the standard output, ids as in "[N]".
std::string Console(const std::function<void()>& action) {
    testing::internal::CaptureStdout();
    action();
    std::fflush(stdout);
    return std::regex_replace(testing::internal::GetCapturedStdout(), std::regex("\\[[1-9]\\d*\\]"),
                              "[N]");
}

constexpr char KILLED[] = "worker [N]\t terminating...  -> success!\n";

bool IsShown(const std::string& waiter) {
    std::ostringstream list;
    showMutexList(list, false);
    return list.str().find(waiter) != std::string::npos;
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
    for (const std::size_t length : {0u, 255u, 256u, 257u, 600u}) {
        const std::string name(length, 'n');
        worker.setThreadName(name);
        EXPECT_EQ(Console([&] { EXPECT_TRUE(worker.Terminate(5)); }),
                  name + " [0]\t terminating...  -> success!\n");
    }
    EXPECT_EQ(worker.State(), "0 0 0 - 5");
    EXPECT_EQ(Console([] {
                  SystemThread running("worker", [](SystemThread*) { return sleep(3600); });
                  ASSERT_TRUE(running.Create(false, 0));
              }),
              KILLED);
}

TEST(SystemThread, GoesThroughItsStatesAgainAndAgainHoweverItEnds) {
    MutexLock held("held by the killer");
    held.Lock();
    EventLock running, leave;
    const struct {
        const char* end;
        bool runs, isKilled;
        Worker::Work work;
        const char *state, *console;
    } ROWS[] = {{"returns", true, false, [](Worker&) { return 42u; }, "0 0 0 - 42", ""},
                {"ends", true, false, [](Worker& self) { return self.EndThread(77), 1u; },
                 "0 0 set listed 77", ""},
                {"kills itself", true, false, [](Worker& self) { return self.Terminate(12), 1u; },
                 "0 0 set listed 12", KILLED},
                {"is killed at a mutex", true, true, [&](Worker&) { return held.Lock(), 1u; },
                 "0 0 set listed 31", KILLED},
                {"never runs", false, true, {}, "0 0 0 - 31", KILLED}};
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.end);
        Worker worker([&](Worker& self) {
            running.Set();
            leave.Wait();
            return row.work(self);
        });
        const auto end = [&] {
            const std::string waiter = " | W: " + std::to_string(worker.getThreadId());
            leave.Set();
            ASSERT_TRUE(!row.isKilled || !row.runs || Eventually([&] { return IsShown(waiter); }));
            EXPECT_TRUE(row.isKilled
                            ? worker.Terminate(31)
                            : worker.WaitForThreadExit(FOREVER) || worker.getHandle() == nullptr);
            EXPECT_FALSE(IsShown(waiter)) << "the dead don't wait";
        };
        std::string code = "0";
        for (int round = 0; round < 2; ++round, code = std::to_string(worker.getExitCode())) {
            worker.started = 0;
            ASSERT_TRUE(worker.Create(true, round));
            EXPECT_EQ(worker.State(), "set set 0 - " + code);
            EXPECT_FALSE(worker.WaitForThreadExit(20));
            EXPECT_EQ(worker.started, 0u) << "it runs only after Resume";
            EXPECT_EQ(worker.Suspend(), 1u);
            EXPECT_EQ(worker.Resume(), 2u);
            worker.setPriority(SystemThread::E_THREAD_PRIORITY_BELOW_NORMAL);
            EXPECT_EQ(worker.getPriority(), SystemThread::E_THREAD_PRIORITY_BELOW_NORMAL);
            if (row.runs) {
                EXPECT_EQ(worker.Resume(), 1u);
                ASSERT_TRUE(running.Wait());
                EXPECT_EQ(worker.State(), "set set set listed " + code);
                EXPECT_EQ(worker.Resume(), 0u);
            }
            EXPECT_FALSE(worker.Create(false, 0));
            EXPECT_EQ(Console(end), row.console);
            EXPECT_EQ(worker.State(), row.state);
            EXPECT_FALSE(worker.WaitForThreadExit(FOREVER)) << "there is none any more";
        }
        leave.Reset();
    }
    held.Unlock();
}

TEST(SystemThread, RunsItsFunctionWithItselfOrNothing) {
    SystemThread nothing("nothing", nullptr);
    EXPECT_TRUE(nothing.Terminate(9));
    SystemThread named("named", [](SystemThread* self) {
        char shown[16];
        pthread_getname_np(pthread_self(), shown, sizeof shown);
        return self->Suspend() + (self->getThreadName() == shown ? 5 : 0);
    });
    for (SystemThread* const thread : {&nothing, &named}) {
        ASSERT_TRUE(thread->Create(false, 0));
        EXPECT_TRUE(Eventually([&] { return thread->Resume() == FOREVER; }));
        EXPECT_EQ(thread->getExitCode(), thread == &named ? 5u : 0u);
    }
}

TEST(SystemThread, RunsAgainAfterAnEndThatItWasNotToldOf) {
    std::atomic<int> run = 0;
    Worker worker([&](Worker&) {
        if (++run == 1)
            pthread_exit(nullptr);
        return 5u;
    });
    ASSERT_TRUE(worker.Create(false, 0));
    EXPECT_TRUE(Eventually([&] { return worker.Create(false, 0); }));
    EXPECT_TRUE(Eventually([&] { return worker.getHandle() == nullptr; }));
    EXPECT_EQ(worker.getExitCode(), 5u);
}

TEST(SystemThread, KeepsLimitsWhileADestructorOfTheThreadTakesLong) {
    static std::counting_semaphore<> leave(0);
    static pthread_key_t key;  // Made after the library's own, so that its destructor runs later.
    Worker worker([](Worker&) {
        pthread_setspecific(key, &key);
        pthread_exit(nullptr);
        return 0u;
    });
    Worker before([](Worker&) { return 0u; });
    ASSERT_TRUE(before.Create(false, 0));
    before.WaitForThreadExit(FOREVER);
    ASSERT_EQ(pthread_key_create(&key, [](void*) { leave.try_acquire_for(8s); }), 0);
    ASSERT_TRUE(worker.Create(false, 0));
    const auto start = std::chrono::steady_clock::now();
    worker.WaitForThreadExit(300);
    worker.Create(true, 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 6s);
    leave.release(2);
    EXPECT_EQ(pthread_key_delete(key), 0);
}

TEST(Kill, FailsWhereTheThreadBlocksAllSignals) {
    std::latch blocking(1), leave(1);
    Worker worker([&](Worker&) {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, nullptr);
        blocking.count_down();
        leave.wait();
        return SemaphoreLock(1, 0).TryLock(1) ? 0u : 6u;
    });
    ASSERT_TRUE(worker.Create(false, 0));
    blocking.wait();
    std::string reports;
    const auto kill = [&] { reports = ReportOf([&] { EXPECT_FALSE(worker.Terminate(7)); }); };
    {
        const std::jthread suspender([&] { EXPECT_EQ(worker.Suspend(), FOREVER); });
        EXPECT_EQ(Console(kill), "worker [N]\t terminating...  -> failed!\n");
    }
    EXPECT_EQ(reports, Asserted("threadutils", {"(false)"}));
    EXPECT_EQ(worker.State(), "set set set listed 0");
    leave.count_down();
    EXPECT_TRUE(worker.WaitForThreadExit(FOREVER) || worker.getHandle() == nullptr);
    EXPECT_EQ(worker.getExitCode(), 6u);
}

TEST(Kill, MeetsTheThreadsOwnEndAndOtherKillers) {
    Worker worker([](Worker&) { return 1u; });
    const auto kill = [&] { EXPECT_TRUE(worker.Terminate(7)); };
    const auto wait = [&] {
        const bool hasEnded = worker.WaitForThreadExit(FOREVER);
        EXPECT_TRUE(!hasEnded || worker.getHandle() == nullptr);
    };
    const auto rounds = [&] {
        for (int round = 0; round < 300; ++round) {
            ASSERT_TRUE(worker.Create(round % 2 == 0, 0));
            {
                const std::jthread killer(kill), waiter(wait), resumer([&] { worker.Resume(); });
                kill();
            }
            EXPECT_EQ(worker.getExitCode(), 7u);
            EXPECT_EQ(worker.getHandle(), nullptr);
        }
    };
    std::string console;
    EXPECT_EQ(ReportOf([&] { console = Console(rounds); }), "");
    EXPECT_EQ(console.find("failed"), std::string::npos);
}
