#include "utilities/locks/lockobj.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <iostream>
#include <latch>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/eventually.h"
#include "tests/support/report_of.h"
#include "utilities/locks/mutexlist.h"

namespace {

constexpr char NOT_OWNER[] = "(m_ThreadId == getOwnThreadId())";

std::string Id() { return std::to_string(gettid()); }

std::string List(bool showAll = true) {
    std::ostringstream out;
    showMutexList(out, showAll);
    return out.str();
}

/// What the list shows of the mutex `name` behind its index, without the arrow.
std::string Shown(const std::string& name, const std::string& index = "\\d+") {
    std::smatch match;
    const std::string list = List();
    const std::regex line("(?:^|\n)" + name + "\t :   " + index + "   -> O:(.*)");
    return std::regex_search(list, match, line) ? match[1].str() : "none";
}

std::string Reports(std::initializer_list<const char*> conditions) {
    return Asserted("lockobj", conditions);
}

void OnThread(const std::function<void()>& action) { std::thread(action).join(); }

bool TryLockElsewhere(MutexLock& mutex, unsigned int timeout = 0) {
    bool taken = false;
    OnThread([&] {
        taken = mutex.TryLock(timeout);
        if (taken)
            mutex.Unlock();
    });
    return taken;
}

}  // namespace

TEST(MutexLock, ShowsItsHolderAtEachDepthUntilItIsFree) {
    MutexLock mutex("depth");
    EXPECT_EQ(Shown("depth"), "");
    EXPECT_EQ(List(false).find("depth"), std::string::npos) << "only held ones";
    const auto use = [&] {
        mutex.Lock();
        EXPECT_TRUE(mutex.TryLock(0));
        mutex.Lock();
        for (int depth = 3; depth > 0; --depth) {
            EXPECT_EQ(Shown("depth"), Id());
            EXPECT_NE(List(false).find("depth\t"), std::string::npos);
            EXPECT_FALSE(TryLockElsewhere(mutex, depth == 3 ? 20 : 0)) << depth;
            mutex.Unlock();
        }
        EXPECT_EQ(Shown("depth"), "");
        EXPECT_TRUE(TryLockElsewhere(mutex));
    };
    EXPECT_EQ(ReportOf(use), "");
}

TEST(MutexLock, IsListedUnderItsName) {
    const std::string LONG = "abcdefghijklmnopqrstuvwxyz";
    for (const std::string& name :
         {std::string(" "), std::string(), std::string("x"), std::string("ab"), LONG.substr(0, 23),
          LONG.substr(0, 24), LONG}) {
        const std::string renamed = name.substr(0, 24);
        const std::string shown = name.size() < 2 ? "MTX_\\d+" : renamed;
        MutexLock mutex(name.c_str()), other("before it was renamed");
        EXPECT_EQ(Shown(shown), "") << name;
        mutex.SetName("another");
        EXPECT_EQ(Shown(shown), "none") << name;
        other.SetName(name.c_str());
        EXPECT_EQ(Shown(renamed), "") << name;
    }
}

TEST(MutexLock, ReportsWrongUseAndGoesOn) {
    MutexLock mutex("wrong");
    EXPECT_EQ(ReportOf([&] { mutex.Unlock(); }),
              Reports({NOT_OWNER, "(m_LockedCount >=0)", "(0!=m_ThreadId)"}));
    EXPECT_EQ(ReportOf([&] { mutex.Lock(); }), "") << "the count goes on from -1";
    EXPECT_EQ(ReportOf([&] { mutex.Lock(); }), Reports({"(m_ThreadId == 0)"}));

    MutexLock held("stranger");
    held.Lock();
    held.Lock();
    for (const std::string& shown : {Id(), std::string()}) {
        EXPECT_EQ(ReportOf([&] { OnThread([&] { held.Unlock(); }); }), Reports({NOT_OWNER}));
        EXPECT_EQ(Shown("stranger"), shown) << "a stranger's Unlock takes one off the count";
    }
    EXPECT_FALSE(TryLockElsewhere(held)) << "the platform's mutex is still held";
}

TEST(MutexLock, ContinuesTheCountOfAHolderThatEnded) {
    MutexLock mutex("abandoned"), next("next");
    OnThread([&] { mutex.Lock(), next.Lock(); });
    EXPECT_NE(Shown("abandoned"), "");
    OnThread([&] { EXPECT_FALSE(mutex.TryLock(0)) << "told once"; });
    EXPECT_EQ(ReportOf([&] { EXPECT_TRUE(mutex.TryLock(0)); }), Reports({NOT_OWNER}));
    EXPECT_EQ(Shown("abandoned"), Id());
    EXPECT_EQ(ReportOf([&] { mutex.Unlock(); }), Reports({NOT_OWNER}));
    EXPECT_EQ(Shown("abandoned"), Id()) << "the count of the dead one is left";
    EXPECT_EQ(ReportOf([&] { next.Lock(); }), Reports({NOT_OWNER}));
}

TEST(MutexLock, IsDestroyedInSilenceByItsHolderAlone) {
    auto mutex = std::make_unique<MutexLock>("destroyed");
    mutex->Lock();
    EXPECT_EQ(ReportOf([&] { mutex.reset(); }), "");
    EXPECT_EQ(Shown("destroyed"), "none");

    mutex = std::make_unique<MutexLock>("destroyed");
    mutex->Lock();
    EXPECT_EQ(ReportOf([&] { OnThread([&] { mutex.reset(); }); }),
              Reports({"(MutexDbgList[m_DbgListIndex].Owner == getOwnThreadId())"}));

    // A waiter of one of two copies sees the other destroyed: its wait fails, and counts as taken.
    static MutexLock* const original = new MutexLock("copied");
    MutexLock assigned("left open");
    original->Lock();
    auto copy = std::make_unique<MutexLock>(*original);
    std::thread waiter([] { original->Lock(); });
    ASSERT_TRUE(Eventually([] { return Shown("copied").find(" | W: ") != std::string::npos; }));
    const std::string reports = ReportOf([&] {
        copy.reset();
        waiter.join();
    });
    EXPECT_EQ(reports, Reports({"(MutexDbgList[m_DbgListIndex].Waiter[i] == 0)", NOT_OWNER}));
}

TEST(MutexLock, ShowsTheFirstFiveWaiters) {
    MutexLock mutex("queue");
    mutex.Lock();
    std::vector<std::thread> threads;
    std::string expected = Id();
    for (int i = 0; i < 6; ++i) {
        std::atomic<int> id{0};
        threads.emplace_back([&] {
            id = gettid();
            mutex.Lock();
            EXPECT_EQ(Shown("queue").substr(0, Id().size()), Id());
            mutex.Unlock();
        });
        ASSERT_TRUE(Eventually([&] { return id != 0; }));
        if (i < 5)
            expected += " | W: " + std::to_string(id);
        ASSERT_TRUE(Eventually([&] { return Shown("queue") == expected; })) << i;
    }
    mutex.Unlock();
    for (std::thread& thread : threads)
        thread.join();
    mutex.Lock();
    EXPECT_EQ(Shown("queue"), Id()) << "no waiter is left";
    mutex.Unlock();
}

TEST(MutexLock, BeyondTheTableSharesTheLastRecord) {
    std::ostringstream console;
    std::streambuf* const before = std::cout.rdbuf(console.rdbuf());
    std::vector<std::unique_ptr<MutexLock>> mutexes;
    while (console.str().empty() && mutexes.size() <= 801)
        mutexes.push_back(std::make_unique<MutexLock>("one of many"));
    std::cout.rdbuf(before);
    EXPECT_EQ(console.str(), "can't create Mutex debug entry \n");
    EXPECT_EQ(List(false).find("Display Mutex List: --> Mutex Count: 800\n"), 0u);
    const auto last = [] { return Shown("one of many", "799"); };
    mutexes.back()->Lock();
    EXPECT_EQ(last(), Id());
    EXPECT_TRUE(TryLockElsewhere(*mutexes[mutexes.size() - 2])) << "a mutex of its own";
    EXPECT_EQ(last(), "") << "which tells of itself in the same record";
    mutexes.back()->Unlock();
    mutexes.pop_back();
    EXPECT_EQ(last(), "none") << "free for both";
    mutexes[5].reset();
    const MutexLock reused("reused");
    EXPECT_EQ(Shown("reused"), "");
    EXPECT_EQ(Shown(".*", "799"), "none") << "the first free record is taken";
    EXPECT_EQ(List(false).find("Display Mutex List: --> Mutex Count: 800\n"), 0u);
}

TEST(MutexLock, CanBeListedWhileManyThreadsNestLocksAndComeAndGo) {
    constexpr int THREADS = 8, EACH = 50;
    MutexLock outer("outer"), inner("inner");
    std::vector<std::unique_ptr<MutexLock>> built(THREADS * EACH);
    std::latch together(THREADS);
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    int count = 0;
    for (int i = 0; i < THREADS; ++i) {
        threads.emplace_back([&, i] {
            together.arrive_and_wait();
            for (int j = i; j < THREADS * EACH; j += THREADS)
                built[static_cast<std::size_t>(j)] = std::make_unique<MutexLock>();
            for (int round = 0; !stop || round < 100; ++round) {
                MutexLock passing("a name of 24 characters.");
                for (bool taken = false; !taken;)
                    taken = round % 3 == 0 ? outer.TryLock(1) : (outer.Lock(), true);
                inner.Lock();
                outer.Lock();
                ++count;
                inner.SetName(i % 2 == 0 ? "inner" : "not inner");
                outer.Unlock();
                inner.Unlock();
                outer.Unlock();
            }
        });
    }
    const std::regex line(
        "(MTX_\\d+|BqGMTime::tm_mutex|outer|(in|not )?[a-z ]*|a name of 24 characters.)?"
        "\t :   \\d+   -> O:(\\d+( \\| W: \\d+){0,5})?");
    for (int i = 0; i < 200; ++i) {
        std::istringstream lines(List(i % 2 == 0));
        std::string text;
        for (int number = 0; std::getline(lines, text); ++number)
            EXPECT_TRUE(number < 2 || std::regex_match(text, line)) << text;
    }
    stop = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_GE(count, 100 * THREADS);
    EXPECT_EQ(Shown("outer"), "");
    const std::string text = List();
    const std::regex name("(MTX_(\\d+))\t :   \\2   -> O:\n");
    const std::set<std::string> names(std::sregex_token_iterator(text.begin(), text.end(), name, 1),
                                      {});
    EXPECT_EQ(names.size(), built.size()) << "each has a record of its own";
}

TEST(SemaphoreLock, ClampsItsCounts) {
    const struct {
        int maximum, initial, free, capacity;
    } CASES[] = {{-3, 7, 1, 1}, {0, 0, 0, 1}, {1, 2, 1, 1}, {5, -1, 5, 5},
                 {5, 0, 0, 5},  {5, 5, 5, 5}, {5, 6, 5, 5}, {2, 1, 1, 2}};
    for (const auto& [maximum, initial, free, capacity] : CASES) {
        SemaphoreLock semaphore(maximum, initial);
        const auto taken = [&semaphore] {
            int units = 0;
            while (units % 2 == 0 ? semaphore.CheckLock() : semaphore.TryLock(0))
                ++units;
            return units;
        };
        EXPECT_EQ(taken(), free) << maximum << ' ' << initial;
        for (int i = 0; i <= capacity; ++i)
            semaphore.Unlock();
        EXPECT_EQ(taken(), capacity) << maximum << ' ' << initial;
    }
}

TEST(EventLock, ResetsItselfUnlessToldOtherwise) {
    EventLock byDefault;
    EXPECT_FALSE(byDefault.Wait(0));
    for (const bool manual : {false, true}) {
        EventLock event(manual, true);
        for (EventLock* const set : {&event, manual ? &event : &byDefault}) {
            set->Set();
            EXPECT_TRUE(set->Wait());
            EXPECT_EQ(set->Wait(20), manual);
            set->Set();
            set->Reset();
            EXPECT_FALSE(set->Wait(0));
        }
        EXPECT_TRUE(EventLock(manual, true).Wait(0xFFFFFFFF));
        EXPECT_FALSE(EventLock(manual, false).Wait(0));
    }
}
