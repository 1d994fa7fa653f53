#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <deque>
#include <random>
#include <regex>
#include <sstream>
#include <string>
#include <utility>

#include "tests/support/eventually.h"
#include "tests/support/report_of.h"
#include "tests/support/scratch.h"
#include "tests/support/uses.h"

namespace {

#ifndef FORKS
#define FORKS 10
#endif

constexpr unsigned int FOREVER = 0xFFFFFFFF;

std::atomic<bool> isOver{false};
std::atomic<unsigned long> steps{0};
MutexLock held("held by who forks");

/// Repeats `step` until all is over.
struct Busy : SystemThread {
    explicit Busy(bool (*toRepeat)(const std::string&))
        : SystemThread("busy", nullptr), step(toRepeat) {
        EXPECT_TRUE(Create(false, 0));
    }
    ~Busy() override { WaitForThreadExit(FOREVER); }
    unsigned int ThreadEntryPoint() override {
        for (const std::string own = Own(); !isOver; ++steps)
            step(own);
        return 0;
    }
    bool (*const step)(const std::string&);
};

/// What a child finds wrong goes where the library's own reports go.
void Check(bool isRight, const std::string& what) {
    if (!isRight)
        std::fprintf(stderr, "wrong: %s\n", what.c_str());
}

bool IsFreeForOthers() {
    SystemThread other("other", [](SystemThread*) {
        const bool isTaken = held.TryLock(0);
        if (isTaken)
            held.Unlock();
        return unsigned{isTaken};
    });
    Check(other.Create(false, 0), "a thread starts");
    other.WaitForThreadExit(FOREVER);
    return other.getExitCode() == 1;
}

/// The child has one thread, which holds what it held before, and nothing else is held.
void UseAll() {
    std::ostringstream list;
    showMutexList(list, false);
    const std::regex mine(
        "(.*\n){2}held by who forks\t :   \\d+   -> O:" + std::to_string(gettid()) + "\n");
    Check(std::regex_match(list.str(), mine), list.str());
    checkMutexListForDeadlock();
    for (const auto& [name, run] : USES)
        Check(run(Own()), name);
    Check(!IsFreeForOthers(), "it holds its mutex");
    held.Unlock(), held.Unlock();
    Check(IsFreeForOthers(), "it can give it up");
    held.Lock(), held.Lock();
}

/// Runs `work` in a child. What it wrote on the standard error stream, and how it ended.
template <class Work>
std::string Child(Work work) {
    const std::string file = "reports" + Own();
    const pid_t child = fork();
    if (child == 0) {
        alarm(30);
        dup2(open(file.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0600), STDERR_FILENO);
        work();
        _exit(0);
    }
    const int end = EndOf(child);
    return ReadFile(file) + (end == 0 ? "" : "ended with " + std::to_string(end));
}

/// Each third child forks again.
void ForkOften() {
    std::minstd_rand random(FORKS);
    for (int round = 0; round < FORKS && !testing::Test::HasFailure(); ++round) {
        const unsigned long before = steps, wanted = random() % 200;
        ASSERT_TRUE(Eventually([&] { return steps - before >= wanted; }));
        held.Lock(), held.Lock();
        EXPECT_EQ(Child([round] {
                      UseAll();
                      const std::string reports = round % 3 == 0 ? Child(UseAll) : "";
                      Check(reports.empty(), reports);
                  }),
                  "");
        held.Unlock(), held.Unlock();
    }
}

}  // namespace

TEST(Fork, AtRandomMomentsLeavesTheChildEveryClass) {
    const ScratchWorkingDirectory scratch;
    ThreadList::deleteInstance();
    isOver = false;
    std::deque<Busy> others;
    others.emplace_back([](const std::string&) { return held.Lock(), held.Unlock(), true; });
    others.emplace_back(USES[0].run);
    for (const Use& use : USES)
        others.emplace_back(use.run);
    ForkOften();
    SystemThread forker("forker", [](SystemThread*) { return ForkOften(), 7u; });
    EXPECT_TRUE(forker.Create(false, 0));
    EXPECT_TRUE(forker.WaitForThreadExit(FOREVER));
    EXPECT_EQ(forker.getExitCode(), 7u);
    isOver = true;
}

TEST(Kill, AtRandomMomentsLeavesTheProcessEveryClass) {
    const ScratchWorkingDirectory scratch;
    std::minstd_rand random(FORKS);
    isOver = false;
    static decltype(Use::run) use;
    // Between two uses it is where it can be stopped.
    constexpr auto repeat = [](const std::string& own) {
        for (int i = 0; i < 10000; ++i)
            ++steps;
        return use(own);
    };
    testing::internal::CaptureStdout();
    const std::string reports = ReportOf([&] {
        for (const auto& [name, run] : USES) {
            use = run;
            for (int round = 0; round < FORKS; ++round) {
                ThreadList::deleteInstance();  // It keeps the entries of the killed.
                const unsigned long before = steps;
                Busy user(repeat);
                EXPECT_TRUE(Eventually([&] { return steps != before; })) << name;
                usleep(static_cast<useconds_t>(random() % 2000));
                EXPECT_TRUE(user.Terminate(0)) << name;
                EXPECT_TRUE(run(Own())) << name;
            }
        }
    });
    const std::string console = testing::internal::GetCapturedStdout();
    EXPECT_EQ(console.find("Failure"), std::string::npos) << console;
    // Whoever takes a mutex after a holder that was killed reports it.
    std::istringstream lines(reports);
    for (std::string line; std::getline(lines, line);)
        EXPECT_EQ(line.find("ASSERT((m_ThreadId == getOwnThreadId()) "), 0u) << line;
}
