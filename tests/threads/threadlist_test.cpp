#include "utilities/threads/threadlist.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <vector>

#include "tests/support/eventually.h"
#include "utilities/locks/lockobj.h"
#include "utilities/threads/threadutils.h"

namespace {

using namespace std::string_literals;
using Texts = std::vector<std::string>;

ThreadInfo At(std::size_t index) {
    return ThreadList::getInstance()->getThreadInfo(static_cast<unsigned char>(index));
}

Texts Names() {
    Texts names;
    for (std::size_t i = 0; i < 256 && At(i).m_ThreadId != 0; ++i)
        names.push_back(At(i).m_ThreadName);
    return names;
}

/// A thread that stays until its gate is set, and is listed behind those before it.
struct Waiting : SystemThread {
    explicit Waiting(const std::string& name) : SystemThread(name, nullptr) {
        const std::size_t index = Names().size();
        EXPECT_TRUE(Create(false, 0));
        EXPECT_TRUE(Eventually([&] { return At(index).m_ThreadId == getThreadId(); })) << name;
    }
    void End() {
        gate.Set();
        WaitForThreadExit(0xFFFFFFFF);
    }
    unsigned int ThreadEntryPoint() override { return gate.Wait() ? 0 : 1; }
    EventLock gate;
};

}  // namespace

TEST(ThreadList, KeepsTheOrderOfStartsUntilItIsDeleted) {
    ThreadList::deleteInstance();
    std::deque<Waiting> threads;
    for (const std::string& name : {"first"s, ""s, "ten  chars"s, "eleven char"s, "la\0st"s})
        threads.emplace_back(name);
    threads[2].setThreadName("later");
    EXPECT_EQ(Names(), (Texts{"first", "", "ten  chars", "eleven cha", "la"}));
    threads[1].End();
    EXPECT_EQ(Names(), (Texts{"first", "ten  chars", "eleven cha", "la"}));

    ThreadList* const list = ThreadList::getInstance();
    ThreadList::deleteInstance();
    EXPECT_EQ(list->getThreadInfo(0).m_ThreadId, 0u);
    ThreadList::deleteInstance();
    EXPECT_EQ(Names(), Texts());
    threads.emplace_back("after");
    threads[0].End();
    EXPECT_EQ(Names(), Texts{"after"}) << "a new list knows nothing of those that ran";
    for (Waiting& thread : threads)
        thread.End();
}
