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

EventLock& Gate() {
    static EventLock gate(true);
    return gate;
}

unsigned int StayUntilTheGateOpens(SystemThread*) {
    Gate().Wait();
    return 0;
}

ThreadInfo At(int index) {
    return ThreadList::getInstance()->getThreadInfo(static_cast<unsigned char>(index));
}

std::vector<std::string> Names() {
    std::vector<std::string> names;
    for (int i = 0; i < 256 && At(i).m_ThreadId != 0; ++i)
        names.push_back(At(i).m_ThreadName);
    return names;
}

using Threads = std::vector<std::unique_ptr<SystemThread>>;

/// Starts one after the other, so that the list's order is known.
void Start(Threads& threads, const std::string& name) {
    const std::size_t before = Names().size();
    threads.push_back(std::make_unique<SystemThread>(name, StayUntilTheGateOpens));
    ASSERT_TRUE(threads.back()->Create(false, 0));
    ASSERT_TRUE(Eventually([&] { return Names().size() > before; }));
    EXPECT_EQ(At(static_cast<int>(before)).m_ThreadId, threads.back()->getThreadId());
}

class ThreadListTest : public testing::Test {
protected:
    void SetUp() override {
        ThreadList::deleteInstance();
        Gate().Reset();
    }
    void TearDown() override {
        Gate().Set();
        for (const auto& thread : threads_)
            thread->WaitForThreadExit(0xFFFFFFFF);
        EXPECT_EQ(Names(), std::vector<std::string>());
    }
    Threads threads_;
};

}  // namespace

TEST(ThreadInfo, KeepsTenCharacters) {
    const struct {
        std::string name, kept;
    } CASES[] = {{"", ""},
                 {"x", "x"},
                 {"123456789", "123456789"},
                 {"1234567890", "1234567890"},
                 {"12345678901", "1234567890"},
                 {std::string("a\0b", 3), "a"}};
    for (const auto& [name, kept] : CASES) {
        const ThreadInfo info(7, name);
        EXPECT_EQ(info.m_ThreadId, 7u);
        EXPECT_EQ(info.m_ThreadName, kept);
        EXPECT_EQ(info.m_ThreadName[10], '\0');
    }
    EXPECT_EQ(ThreadInfo().m_ThreadId, 0u);
}

TEST_F(ThreadListTest, KeepsTheOrderOfStartsWhereOneLeaves) {
    EXPECT_EQ(At(0).m_ThreadId, 0u);
    EXPECT_EQ(At(255).m_ThreadId, 0u);
    for (const char* const name : {"first", "", "a name of many characters"})
        Start(threads_, name);
    EXPECT_EQ(Names(), (std::vector<std::string>{"first", "", "a name of "}));
    EXPECT_EQ(threads_[2]->getThreadName(), "a name of many characters");
    threads_[2]->setThreadName("later");
    EXPECT_EQ(Names()[2], "a name of ");

    EventLock leave;
    static EventLock* const leaveSecond = &leave;
    SystemThread middle("middle", [](SystemThread*) { return leaveSecond->Wait() ? 1u : 0u; });
    ASSERT_TRUE(middle.Create(false, 0));
    ASSERT_TRUE(Eventually([] { return Names().size() == 4; }));
    Start(threads_, "last");
    leave.Set();
    middle.WaitForThreadExit(0xFFFFFFFF);
    EXPECT_EQ(Names(), (std::vector<std::string>{"first", "", "a name of ", "last"}));
}

TEST_F(ThreadListTest, ANewListKnowsNothingOfTheThreadsThatRun) {
    ThreadList* const list = ThreadList::getInstance();
    EXPECT_EQ(ThreadList::getInstance(), list);
    Start(threads_, "before");
    ThreadList::deleteInstance();
    EXPECT_EQ(list->getThreadInfo(0).m_ThreadId, 0u);
    ThreadList::deleteInstance();
    EXPECT_EQ(Names(), std::vector<std::string>());
    Start(threads_, "after");
}

TEST_F(ThreadListTest, IsWalkedWhileFiftyThreadsStartAndEnd) {
    static std::atomic<int> runs;
    runs = 0;
    Gate().Set();
    for (int i = 0; i < 50; ++i) {
        threads_.push_back(std::make_unique<SystemThread>("walked", [](SystemThread* self) {
            EXPECT_EQ(self->getThreadId(), self->getProcessId());
            ++runs;
            return 3u;
        }));
    }
    constexpr int ROUNDS = 10;
    for (int round = 0; round < ROUNDS; ++round) {
        for (const auto& thread : threads_)
            ASSERT_TRUE(thread->Create(false, round));
        for (int i = 0; i < 256; ++i) {
            const ThreadInfo info = At(i);
            EXPECT_EQ(info.m_ThreadName, std::string(info.m_ThreadId != 0 ? "walked" : ""));
        }
        for (const auto& thread : threads_) {
            thread->WaitForThreadExit(0xFFFFFFFF);
            EXPECT_EQ(thread->getExitCode(), 3u);
            EXPECT_EQ(thread->getHandle(), nullptr);
            EXPECT_EQ(thread->getThreadId(), 0u);
            EXPECT_EQ(thread->getProcessId(), 0u);
        }
    }
    EXPECT_EQ(runs, 50 * ROUNDS);
}
