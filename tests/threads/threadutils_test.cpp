#include "utilities/threads/threadutils.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <regex>
#include <sstream>
#include <string>
#include <thread>

#include "tests/support/eventually.h"
#include "tests/support/report_of.h"
#include "utilities/locks/lockobj.h"
#include "utilities/locks/mutexlist.h"
#include "utilities/threads/threadlist.h"

namespace {

constexpr unsigned int FOREVER = 0xFFFFFFFF;

/// Runs a function on its thread.
class Worker : public SystemThread {
public:
    using Work = std::function<unsigned int(Worker&)>;
    explicit Worker(Work work = {}) : SystemThread("worker", nullptr), work_(std::move(work)) {}
    using SystemThread::EndThread;

    /// The row of the table of states, and the exit code.
    std::string State() const {
        const auto text = [this](unsigned int id) {
            return std::string(id == 0 ? "0 " : started == 0 || id == started ? "set " : "wrong ");
        };
        bool isListed = false;
        for (int i = 0; i < 256; ++i) {
            const auto entry = static_cast<unsigned char>(i);
            const unsigned int id = ThreadList::getInstance()->getThreadInfo(entry).m_ThreadId;
            isListed = isListed || (id != 0 && id == started);
        }
        return (getHandle() != nullptr ? "set " : "0 ") + text(getThreadId()) +
               text(getProcessId()) + (isListed ? "listed " : "- ") + std::to_string(getExitCode());
    }
    std::atomic<unsigned int> started{0};
    std::atomic<bool> arrived{false};

private:
    unsigned int ThreadEntryPoint() override {
        started = static_cast<unsigned int>(gettid());
        return work_ ? work_(*this) : 0;
    }
    Work work_;
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

unsigned int Spin(Worker& self) {
    for (;;)
        self.arrived = true;
}

/// A worker that is started and has arrived where its work leads.
void StartAndArrive(Worker& worker) {
    worker.arrived = false;
    ASSERT_TRUE(worker.Create(false, 0));
    ASSERT_TRUE(Eventually([&] { return worker.arrived.load(); }));
}

bool IsInMutexList(const std::string& text) {
    std::ostringstream list;
    showMutexList(list, true);
    return list.str().find(text) != std::string::npos;
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
    EXPECT_EQ(Console([&] { EXPECT_TRUE(worker.Terminate(5)); }),
              "renamed [0]\t terminating...  -> success!\n");
    EXPECT_EQ(worker.State(), "0 0 0 - 5");
    EXPECT_EQ(Console([] { SystemThread never("", nullptr); }),
              " [0]\t terminating...  -> success!\n");
}

TEST(SystemThread, GoesThroughItsStatesAgainAndAgain) {
    EventLock running, leave;
    Worker worker([&](Worker&) {
        running.Set();
        leave.Wait();
        return 42u;
    });
    for (const std::string code : {"0", "42", "42"}) {
        worker.started = 0;
        ASSERT_TRUE(worker.Create(true, 0));
        EXPECT_EQ(worker.State(), "set set 0 - " + code);
        EXPECT_FALSE(worker.WaitForThreadExit(20));
        EXPECT_EQ(worker.started, 0u) << "it runs only after Resume";
        EXPECT_EQ(worker.Suspend(), 1u);
        EXPECT_EQ(worker.Resume(), 2u);
        worker.setPriority(SystemThread::E_THREAD_PRIORITY_BELOW_NORMAL);
        EXPECT_EQ(worker.getPriority(), SystemThread::E_THREAD_PRIORITY_BELOW_NORMAL);
        EXPECT_EQ(worker.Resume(), 1u);
        ASSERT_TRUE(running.Wait());
        EXPECT_EQ(worker.State(), "set set set listed " + code);
        EXPECT_FALSE(worker.Create(false, 0));
        EXPECT_EQ(worker.Resume(), 0u);
        EXPECT_FALSE(worker.WaitForThreadExit(0));
        leave.Set();
        EXPECT_TRUE(worker.WaitForThreadExit(FOREVER) || worker.getHandle() == nullptr);
        EXPECT_EQ(worker.State(), "0 0 0 - 42");
        EXPECT_FALSE(worker.WaitForThreadExit(FOREVER)) << "there is none any more";
    }
}

TEST(SystemThread, RunsItsFunctionWithItselfOrNothing) {
    const struct {
        unsigned int (*function)(SystemThread*);
        unsigned int code;
    } CASES[] = {{nullptr, 0},
                 {[](SystemThread* self) {
                      char shown[16];
                      pthread_getname_np(pthread_self(), shown, sizeof shown);
                      return static_cast<unsigned int>(self->getThreadName() == shown ? 5 : 0);
                  },
                  5},
                 {[](SystemThread* self) { return self->Suspend() + 10; }, 10}};
    for (const auto& [function, code] : CASES) {
        SystemThread thread("named", function);
        EXPECT_TRUE(thread.Terminate(9));
        ASSERT_TRUE(thread.Create(false, 0));
        EXPECT_TRUE(Eventually([&] { return thread.Resume() == FOREVER; }));
        EXPECT_EQ(thread.getExitCode(), code);
    }
}

TEST(SystemThread, EndThreadLeavesItsIdAndItsEntry) {
    Worker worker([](Worker& self) {
        self.EndThread(77);
        return 1u;
    });
    ASSERT_TRUE(worker.Create(false, 0));
    worker.WaitForThreadExit(FOREVER);
    EXPECT_EQ(worker.State(), "0 0 set listed 77");
    ASSERT_TRUE(worker.Create(true, 0)) << "the next thread starts afresh";
    EXPECT_EQ(worker.getProcessId(), 0u);
    worker.Resume();
    worker.WaitForThreadExit(FOREVER);
}

TEST(Kill, EndsAThreadAndLeavesItsIdAndItsEntry) {
    MutexLock held("held by the killer");
    held.Lock();
    const struct {
        const char* where;
        Worker::Work work;
        unsigned int suspensions;
    } CASES[] = {{"busy, suspended", Spin, 2},
                 {"waiting for a mutex",
                  [&](Worker& self) {
                      self.arrived = true;
                      held.Lock();
                      return 1u;
                  },
                  0}};
    for (const auto& [where, work, suspensions] : CASES) {
        SCOPED_TRACE(where);
        Worker worker(work);
        for (const unsigned int code : {31u, 32u}) {
            StartAndArrive(worker);
            const std::string waiter = "| W: " + std::to_string(worker.getThreadId());
            ASSERT_TRUE(Eventually([&] { return suspensions != 0 || IsInMutexList(waiter); }));
            for (unsigned int i = 0; i < suspensions; ++i)
                EXPECT_EQ(worker.Suspend(), i);
            EXPECT_EQ(Console([&] { EXPECT_TRUE(worker.Terminate(code)); }), KILLED);
            EXPECT_EQ(worker.State(), "0 0 set listed " + std::to_string(code));
            EXPECT_FALSE(worker.WaitForThreadExit(FOREVER));
            EXPECT_FALSE(IsInMutexList(waiter)) << "the dead don't wait";
        }
    }
    held.Unlock();
}

TEST(Kill, OfAThreadThatNeverRanAndByTheDestructorAndOfItself) {
    Worker worker([](Worker& self) {
        self.Terminate(12);
        return 1u;
    });
    ASSERT_TRUE(worker.Create(true, 0));
    EXPECT_EQ(Console([&] { EXPECT_TRUE(worker.Terminate(4)); }), KILLED);
    EXPECT_EQ(worker.State(), "0 0 0 - 4");
    EXPECT_EQ(Console([&] {
                  ASSERT_TRUE(worker.Create(false, 0));
                  EXPECT_TRUE(Eventually([&] { return worker.getHandle() == nullptr; }));
              }),
              KILLED);
    EXPECT_EQ(worker.State(), "0 0 set listed 12");
    EXPECT_EQ(Console([] {
                  Worker running(Spin);
                  StartAndArrive(running);
              }),
              KILLED);
}

TEST(Kill, MeetsTheThreadsOwnEndAndOtherKillers) {
    Worker worker([](Worker&) { return 1u; });
    const auto round = [&worker](bool suspended) {
        ASSERT_TRUE(worker.Create(suspended, 0));
        const auto kill = [&] { EXPECT_TRUE(worker.Terminate(7)); };
        const auto wait = [&] {
            if (!worker.WaitForThreadExit(FOREVER))
                return;
            EXPECT_EQ(worker.getHandle(), nullptr);
            EXPECT_EQ(worker.getThreadId(), 0u);
            EXPECT_TRUE(worker.getExitCode() == 1 || worker.getExitCode() == 7);
        };
        {
            const std::jthread killer(kill), waiter(wait), resumer([&] { worker.Resume(); });
            kill();
        }
        EXPECT_EQ(worker.getExitCode(), 7u);
        EXPECT_EQ(worker.getHandle(), nullptr);
    };
    std::string console;
    EXPECT_EQ(ReportOf([&] {
                  console = Console([&] {
                      for (int i = 0; i < 300; ++i)
                          round(i % 2 == 0);
                  });
              }),
              "");
    EXPECT_EQ(console.find("failed"), std::string::npos);
}
