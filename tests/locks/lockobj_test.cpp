#include "utilities/locks/lockobj.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <iostream>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/eventually.h"
#include "utilities/locks/mutexlist.h"

namespace {

using Texts = std::vector<std::string>;

constexpr char NOT_OWNER[] = "(m_ThreadId == getOwnThreadId())";

std::string Id() { return std::to_string(gettid()); }

std::string List(bool showAll = true) {
    std::ostringstream out;
    showMutexList(out, showAll);
    return out.str();
}

/// What the list shows of the mutex `name` behind its index, without the arrow.
std::string Shown(const std::string& name) {
    std::smatch match;
    const std::string list = List();
    const std::regex line("(?:^|\n)" + name + "\t :   \\d+   -> O:(.*)");
    return std::regex_search(list, match, line) ? match[1].str() : "none";
}

int RecordCount() {
    return std::stoi(List(false).substr(sizeof "Display Mutex List: --> Mutex Count:"));
}

/// The conditions that `action` reports.
Texts Reports(const std::function<void()>& action) {
    testing::internal::CaptureStderr();
    action();
    const std::string reports = testing::internal::GetCapturedStderr();
    Texts conditions;
    const std::regex report(R"(ASSERT\((.*) in: \.\\lockobj  line \d+\n)");
    for (std::sregex_iterator match(reports.begin(), reports.end(), report), end; match != end;
         ++match)
        conditions.push_back((*match)[1]);
    EXPECT_EQ(std::regex_replace(reports, report, ""), "");
    return conditions;
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
    EXPECT_EQ(Reports([&] {
                  for (const bool isNested : {false, true}) {
                      const bool taken = isNested ? mutex.TryLock(0) : (mutex.Lock(), true);
                      EXPECT_TRUE(taken);
                      mutex.Lock();
                      EXPECT_EQ(Shown("depth"), Id());
                      EXPECT_FALSE(TryLockElsewhere(mutex, 20));
                      mutex.Unlock();
                  }
                  EXPECT_EQ(Shown("depth"), Id());
                  mutex.Unlock();
                  EXPECT_FALSE(TryLockElsewhere(mutex));
                  EXPECT_NE(List(false).find("depth\t"), std::string::npos);
                  mutex.Unlock();
                  EXPECT_EQ(Shown("depth"), "");
                  EXPECT_TRUE(TryLockElsewhere(mutex));
              }),
              Texts());
}

TEST(MutexLock, IsListedUnderItsName) {
    const std::string LONG = "abcdefghijklmnopqrstuvwxyz";
    const struct {
        std::string name, shown, renamed;
    } CASES[] = {{" ", "MTX_\\d+", " "},
                 {"", "MTX_\\d+", ""},
                 {"x", "MTX_\\d+", "x"},
                 {"ab", "ab", "ab"},
                 {LONG.substr(0, 23), LONG.substr(0, 23), LONG.substr(0, 23)},
                 {LONG.substr(0, 24), LONG.substr(0, 24), LONG.substr(0, 24)},
                 {LONG, LONG.substr(0, 24), LONG.substr(0, 24)}};
    for (const auto& [name, shown, renamed] : CASES) {
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
    EXPECT_EQ(Reports([&] { mutex.Unlock(); }),
              (Texts{NOT_OWNER, "(m_LockedCount >=0)", "(0!=m_ThreadId)"}));
    EXPECT_EQ(Reports([&] { mutex.Lock(); }), Texts()) << "the count goes on from -1";
    EXPECT_EQ(Reports([&] { mutex.Lock(); }), Texts{"(m_ThreadId == 0)"});
}

TEST(MutexLock, AStrangersUnlockTakesOneOffTheCountAndFreesNothing) {
    MutexLock mutex("stranger");
    mutex.Lock();
    mutex.Lock();
    EXPECT_EQ(Reports([&] { OnThread([&] { mutex.Unlock(); }); }), Texts{NOT_OWNER});
    EXPECT_EQ(Shown("stranger"), Id());
    EXPECT_EQ(Reports([&] { OnThread([&] { mutex.Unlock(); }); }), Texts{NOT_OWNER});
    EXPECT_EQ(Shown("stranger"), "");
    EXPECT_FALSE(TryLockElsewhere(mutex)) << "the platform's mutex is still held";
}

TEST(MutexLock, ContinuesTheCountOfAHolderThatEnded) {
    MutexLock mutex("abandoned");
    OnThread([&] { mutex.Lock(); });
    EXPECT_NE(Shown("abandoned"), "");
    EXPECT_FALSE(mutex.TryLock(0)) << "told once";
    EXPECT_EQ(Reports([&] { EXPECT_TRUE(mutex.TryLock(0)); }), Texts{NOT_OWNER});
    EXPECT_EQ(Shown("abandoned"), Id());
    EXPECT_EQ(Reports([&] { mutex.Unlock(); }), Texts{NOT_OWNER});
    EXPECT_EQ(Shown("abandoned"), Id()) << "the count of the dead one is left";

    MutexLock next("next");
    OnThread([&] { next.Lock(); });
    EXPECT_EQ(Reports([&] { next.Lock(); }), Texts{NOT_OWNER});
}

TEST(MutexLock, IsDestroyedInSilenceByItsHolderAlone) {
    const std::string OWNER = "(MutexDbgList[m_DbgListIndex].Owner == getOwnThreadId())";
    auto mutex = std::make_unique<MutexLock>("destroyed");
    mutex->Lock();
    EXPECT_EQ(Reports([&] { mutex.reset(); }), Texts());
    EXPECT_EQ(Shown("destroyed"), "none");

    mutex = std::make_unique<MutexLock>("destroyed");
    mutex->Lock();
    EXPECT_EQ(Reports([&] { OnThread([&] { mutex.reset(); }); }), Texts{OWNER});

    // A waiter of one of two copies sees the other destroyed: its wait fails, and counts as taken.
    static MutexLock* const original = new MutexLock("copied");
    MutexLock assigned("left open");
    original->Lock();
    auto copy = std::make_unique<MutexLock>(*original);
    std::thread waiter([] { original->Lock(); });
    ASSERT_TRUE(Eventually([] { return Shown("copied").find(" | W: ") != std::string::npos; }));
    const Texts reports = Reports([&] {
        copy.reset();
        waiter.join();
    });
    EXPECT_EQ(reports, (Texts{"(MutexDbgList[m_DbgListIndex].Waiter[i] == 0)", NOT_OWNER}));
}

TEST(MutexLock, ShowsTheFirstFiveWaiters) {
    MutexLock mutex("queue");
    mutex.Lock();
    std::vector<std::thread> threads;
    std::string expected = Id();
    for (int i = 0; i < 6; ++i) {
        std::atomic<int> id{0};
        threads.emplace_back([&, i] {
            id = gettid();
            mutex.Lock();
            EXPECT_EQ(Shown("queue").substr(0, Id().size()), Id()) << i;
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
    EXPECT_EQ(Shown("queue"), Id());
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
    EXPECT_EQ(RecordCount(), 800);
    const auto last = [] {
        std::smatch match;
        const std::string list = List();
        return std::regex_search(list, match, std::regex("(.*)\t :   799   -> O:(.*)"))
                   ? match[1].str() + match[2].str()
                   : "free";
    };
    mutexes.back()->Lock();
    EXPECT_EQ(last(), "one of many" + Id());
    EXPECT_TRUE(TryLockElsewhere(*mutexes[mutexes.size() - 2])) << "a mutex of its own";
    EXPECT_EQ(last(), "one of many") << "which tells of itself in the same record";
    mutexes.back()->Unlock();
    mutexes.pop_back();
    EXPECT_EQ(last(), "free") << "for both";
    mutexes[5].reset();
    const MutexLock reused("reused");
    EXPECT_EQ(Shown("reused"), "");
    EXPECT_EQ(last(), "free") << "the first free record is taken";
    EXPECT_EQ(RecordCount(), 800);
}

TEST(MutexLock, BuiltAtTheSameMomentGetsARecordOfItsOwn) {
    constexpr std::size_t THREADS = 8, EACH = 50;
    std::vector<std::unique_ptr<MutexLock>> mutexes(THREADS * EACH);
    std::vector<std::thread> threads;
    std::atomic<bool> go{false};
    for (std::size_t i = 0; i < THREADS; ++i) {
        threads.emplace_back([&, i] {
            while (!go)
                std::this_thread::yield();
            for (std::size_t j = 0; j < EACH; ++j)
                mutexes[i * EACH + j] = std::make_unique<MutexLock>();
        });
    }
    go = true;
    for (std::thread& thread : threads)
        thread.join();
    const std::string list = List();
    const std::regex name("(MTX_(\\d+))\t :   \\2   -> O:\n");
    const std::set<std::string> names(std::sregex_token_iterator(list.begin(), list.end(), name, 1),
                                      {});
    EXPECT_EQ(names.size(), mutexes.size());
}

TEST(MutexLock, CanBeListedWhileManyThreadsNestLocksAndComeAndGo) {
    MutexLock outer("outer"), inner("inner");
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    int count = 0;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; !stop || round < 100; ++round) {
                MutexLock passing("a name of 24 characters.");
                outer.Lock();
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
    const std::regex list(
        "(.*\n){2}((MTX_\\d+|BqGMTime::tm_mutex|outer|(in|not )?[a-z ]*|a name of 24 characters.)?"
        "\t :   \\d+   -> O:(\\d+( \\| W: \\d+){0,5})?\n)*");
    for (int i = 0; i < 200; ++i) {
        const std::string text = List(i % 2 == 0);
        EXPECT_TRUE(std::regex_match(text, list)) << text;
    }
    stop = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_GE(count, 800);
    EXPECT_EQ(Shown("outer"), "");
}

TEST(SemaphoreLock, ClampsItsCounts) {
    const struct {
        int maximum, initial, free, capacity;
    } CASES[] = {{-3, 7, 1, 1}, {0, 0, 0, 1}, {1, 2, 1, 1}, {5, -1, 5, 5},
                 {5, 0, 0, 5},  {5, 5, 5, 5}, {5, 6, 5, 5}, {2, 1, 1, 2}};
    for (const auto& [maximum, initial, free, capacity] : CASES) {
        SemaphoreLock semaphore(maximum, initial);
        SemaphoreLock* const copy = &semaphore;
        const auto taken = [&] {
            int units = 0;
            while (units % 2 == 0 ? semaphore.CheckLock() : copy->TryLock(0))
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
    for (const bool manual : {false, true}) {
        for (const bool initial : {false, true}) {
            EventLock event(manual, initial);
            EXPECT_EQ(event.Wait(0), initial);
            EXPECT_EQ(event.Wait(0), initial && manual);
            event.Set();
            event.Set();
            EXPECT_TRUE(event.Wait());
            EXPECT_EQ(event.Wait(20), manual);
            event.Set();
            event.Reset();
            EXPECT_FALSE(event.Wait(0));
        }
    }
    EventLock byDefault;
    EXPECT_FALSE(byDefault.Wait(0));
    std::thread setter([&] { byDefault.Set(); });
    EXPECT_TRUE(byDefault.Wait(0xFFFFFFFF));
    setter.join();
    EXPECT_FALSE(byDefault.Wait(0));
}
