#include "utilities/threads/threadlist.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/eventually.h"
#include "utilities/locks/lockobj.h"
#include "utilities/threads/threadutils.h"

namespace {

using namespace std::string_literals;
using Texts = std::vector<std::string>;

ThreadInfo At(int index) {
    return ThreadList::getInstance()->getThreadInfo(static_cast<unsigned char>(index));
}

Texts Names() {
    Texts names;
    for (int i = 0; i < 256 && At(i).m_ThreadId != 0; ++i)
        names.push_back(At(i).m_ThreadName);
    return names;
}

class ThreadListTest : public testing::Test {
protected:
    ThreadListTest() { ThreadList::deleteInstance(); }
    ~ThreadListTest() override {
        for (std::size_t i = 0; i < threads_.size(); ++i)
            End(i);
        EXPECT_EQ(Names(), Texts());
    }
    /// Starts one after the other, so that the list's order is known.
    void Start(const std::string& name) {
        const std::size_t before = Names().size();
        threads_.push_back(std::make_unique<Waiting>(name));
        ASSERT_TRUE(threads_.back()->Create(false, 0));
        ASSERT_TRUE(Eventually([&] { return Names().size() > before; }));
        EXPECT_EQ(At(static_cast<int>(before)).m_ThreadId, threads_.back()->getThreadId());
    }
    void End(std::size_t index) {
        threads_[index]->gate.Set();
        threads_[index]->WaitForThreadExit(0xFFFFFFFF);
    }
    struct Waiting : SystemThread {
        explicit Waiting(const std::string& name) : SystemThread(name, nullptr) {}
        unsigned int ThreadEntryPoint() override { return gate.Wait() ? 0 : 1; }
        EventLock gate;
    };
    std::vector<std::unique_ptr<Waiting>> threads_;
};

}  // namespace

TEST_F(ThreadListTest, KeepsTheOrderOfStartsWhereOneLeaves) {
    EXPECT_EQ(At(255).m_ThreadId, 0u);
    for (const std::string& name : {"first"s, ""s, "a name of many characters"s, "la\0st"s})
        Start(name);
    threads_[2]->setThreadName("later");
    EXPECT_EQ(Names(), (Texts{"first", "", "a name of ", "la"}));
    End(1);
    EXPECT_EQ(Names(), (Texts{"first", "a name of ", "la"}));
}

TEST_F(ThreadListTest, ANewListKnowsNothingOfTheThreadsThatRun) {
    ThreadList* const list = ThreadList::getInstance();
    EXPECT_EQ(ThreadList::getInstance(), list);
    Start("before");
    ThreadList::deleteInstance();
    EXPECT_EQ(list->getThreadInfo(0).m_ThreadId, 0u);
    ThreadList::deleteInstance();
    EXPECT_EQ(Names(), Texts());
    Start("after");
}

TEST_F(ThreadListTest, IsWalkedWhileFiftyThreadsStartAndEnd) {
    constexpr int ROUNDS = 10;
    static std::atomic<int> runs;
    std::vector<std::unique_ptr<SystemThread>> threads;
    for (int i = 0; i < 50; ++i) {
        threads.push_back(std::make_unique<SystemThread>("walked", [](SystemThread* self) {
            EXPECT_EQ(self->getThreadId(), self->getProcessId());
            ++runs;
            return 3u;
        }));
    }
    for (int round = 0; round < ROUNDS; ++round) {
        for (const auto& thread : threads)
            ASSERT_TRUE(thread->Create(false, round));
        for (int i = 0; i < 256; ++i) {
            const ThreadInfo info = At(i);
            EXPECT_EQ(info.m_ThreadName, std::string(info.m_ThreadId != 0 ? "walked" : ""));
        }
        for (const auto& thread : threads) {
            thread->WaitForThreadExit(0xFFFFFFFF);
            EXPECT_EQ(thread->getExitCode(), 3u);
            EXPECT_EQ(thread->getHandle(), nullptr);
        }
    }
    EXPECT_EQ(runs, 50 * ROUNDS);
}
