#include "utilities/locks/lockobj.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <deque>
#include <functional>
#include <iostream>
#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/eventually.h"
#include "tests/support/report_of.h"
#include "utilities/locks/mutexlist.h"
#include "utilities/threads/threadutils.h"

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
    };
    EXPECT_EQ(ReportOf(use), "");
    EXPECT_EQ(Shown("depth"), "");
    EXPECT_EQ(List(false).find("depth\t"), std::string::npos) << "only held ones";
    EXPECT_TRUE(TryLockElsewhere(mutex));
}

TEST(MutexLock, IsListedUnderItsName) {
    for (const std::string name : {" ", "", "x", "ab", "abcdefghijklmnopqrstuvw",
                                   "abcdefghijklmnopqrstuvwx", "abcdefghijklmnopqrstuvwxyz"}) {
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

    MutexLock held("other");
    held.Lock();
    held.Lock();
    for (const std::string& shown : {Id(), std::string()}) {
        EXPECT_EQ(ReportOf([&] { OnThread([&] { held.Unlock(); }); }), Reports({NOT_OWNER}));
        EXPECT_EQ(Shown("other"), shown) << "another thread's Unlock takes one off the count";
    }
    EXPECT_FALSE(TryLockElsewhere(held)) << "the platform's mutex is still held";
}

TEST(MutexLock, ContinuesTheCountOfAHolderThatEnded) {
    MutexLock mutex("abandoned"), next("next");
    OnThread([&] { mutex.Lock(), next.Lock(); });
    OnThread([&] { EXPECT_FALSE(mutex.TryLock(0)) << "told once"; });
    EXPECT_EQ(ReportOf([&] { EXPECT_TRUE(mutex.TryLock(0)); }), Reports({NOT_OWNER}));
    EXPECT_EQ(ReportOf([&] { mutex.Unlock(); }), Reports({NOT_OWNER}));
    EXPECT_EQ(Shown("abandoned"), Id()) << "the count of the dead one is left";
    EXPECT_EQ(ReportOf([&] { next.Lock(); }), Reports({NOT_OWNER}));
}

TEST(MutexLock, ShowsTheFirstFiveWaiters) {
    MutexLock mutex("queue");
    mutex.Lock();
    std::vector<std::jthread> threads;
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
    threads.clear();
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
    constexpr int THREADS = 8, ROUNDS = 500;
    MutexLock outer("outer"), inner("inner");
    int count = 0;
    std::vector<std::jthread> threads;
    for (int i = 0; i < THREADS * ROUNDS; i += ROUNDS) {
        threads.emplace_back([&, i] {
            for (int round = i; round < i + ROUNDS; ++round) {
                const MutexLock passing("a name of 24 characters.");
                while (!(round % 3 == 0 ? outer.TryLock(1) : (outer.Lock(), true))) {
                }
                inner.Lock();
                outer.Lock();
                inner.SetName(++count % 2 == 0 ? "inner" : "not inner");
                outer.Unlock();
                inner.Unlock();
                outer.Unlock();
            }
        });
    }
    const std::regex lines(
        "(.*\n){2}([ a-zA-Z:_24.]*\t :   \\d+   -> O:(\\d+( \\| W: \\d+){0,5})?\n)*");
    for (int i = 0; i < 200; ++i)
        EXPECT_TRUE(std::regex_match(List(i % 2 == 0), lines));
    threads.clear();
    EXPECT_EQ(count, THREADS * ROUNDS);
    EXPECT_EQ(Shown("outer"), "");
}

TEST(SemaphoreLock, ClampsItsCounts) {
    const struct {
        int maximum, initial, free, capacity;
    } CASES[] = {{-3, 7, 1, 1}, {0, 0, 0, 1}, {5, -1, 5, 5}, {5, 0, 0, 5}, {5, 6, 5, 5}};
    for (const auto& [maximum, initial, free, capacity] : CASES) {
        SemaphoreLock semaphore(maximum, initial);
        for (const int expected : {free, capacity}) {
            int units = 0;
            while (units % 2 == 0 ? semaphore.CheckLock() : semaphore.TryLock(0))
                ++units;
            EXPECT_EQ(units, expected) << maximum << ' ' << initial;
            for (int i = 0; i <= capacity; ++i)
                semaphore.Unlock();
        }
    }
}

TEST(EventLock, ResetsItselfUnlessToldOtherwise) {
    EventLock byDefault, manual(true), set(false, true);
    EXPECT_TRUE(set.Wait());
    for (EventLock* const event : {&byDefault, &manual}) {
        EXPECT_FALSE(event->Wait(0));
        event->Set();
        EXPECT_TRUE(event->Wait());
        EXPECT_EQ(event->Wait(20), event == &manual);
        event->Set();
        event->Reset();
        EXPECT_FALSE(event->Wait(0));
    }
}

TEST(Locks, GiveTheirHandlesBack) {
    for (int round = 0; round < 300'000; ++round) {
        MutexLock mutex("passing");
        SemaphoreLock semaphore(1, 1);
        const EventLock event(true, true);
        ASSERT_TRUE(mutex.TryLock(0)) << round;
        mutex.Unlock();
    }
}

TEST(Locks, BeyondThePlatformsHandlesStayUsableWithoutEffect) {
    std::deque<EventLock> all;
    while (all.emplace_back(true, true).Wait(0))
        ASSERT_LT(all.size(), 300'000u);
    EXPECT_FALSE(all.back().Wait());
    SemaphoreLock semaphore(1, 1);
    semaphore.Lock();
    EXPECT_FALSE(semaphore.CheckLock());
    MutexLock mutex("none");
    EXPECT_FALSE(mutex.TryLock(0));
    mutex.Lock();
    EXPECT_EQ(Shown("none"), Id()) << "as if it had succeeded";
    mutex.Unlock();
    SystemThread thread("none", nullptr);
    EXPECT_FALSE(thread.Create(false, 0));
    EXPECT_EQ(thread.getHandle(), nullptr);
}
