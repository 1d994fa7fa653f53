#include "utilities/locks/mutexlist.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csetjmp>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "tests/fakes/clock.h"
#include "tests/support/report_of.h"
#include "tests/support/scratch.h"
#include "utilities/locks/lockobj.h"
#include "utilities/locks/registry_internal.h"

namespace {

using namespace std::string_literals;

constexpr char HEAD[] =
    "Display Mutex List: --> Mutex Count: 2\n"
    "Mutex Name: Index -> O: Owner | W: Waiter | W: Waiter  ...\n";

/// The library's own mutex stands in the first record, that of a case in the second.
const std::string OWN_LINE = "BqGMTime::tm_mutex\t :   0   -> O:\n";

constexpr int RETURNED = 7, ABORTED = 8;

class MutexList : public testing::Test {
protected:
    MutexList() { fakes::milliseconds = 1000000; }
    ScratchWorkingDirectory scratch;
};

/// A mutex that is held since `lockTime` with a thread in its last slot.
void Deadlock(std::uint32_t lockTime = 1) {
    static MutexLock* const mutex = new MutexLock("stuck");
    mutex->Lock();
    MutexDbgList[1].Owner = 17;
    MutexDbgList[1].LockTime = lockTime;
    MutexDbgList[1].Waiter[4] = 4711;
}

/// The check in a process of its own, which it can end.
[[noreturn]] void Check() {
    // Where a process ends by `exit`, it is measured what ran.
    static sigjmp_buf afterAbort;
    std::signal(SIGABRT, [](int) { siglongjmp(afterAbort, 1); });
    if (sigsetjmp(afterAbort, 1) != 0)
        std::exit(ABORTED);
    checkMutexListForDeadlock();
    std::exit(RETURNED);
}

#define EXPECT_FINDING(statement) \
    EXPECT_EXIT(statement; Check(), testing::ExitedWithCode(ABORTED), "^pause 20\n$")

TEST_F(MutexList, IsWrittenToAFileThatIsReplaced) {
    MutexLock mutex("listed");
    WriteFile("MutexList", std::string(5000, 'x'));
    WriteMutexListFile(true);
    EXPECT_EQ(ReadFile("MutexList"), HEAD + OWN_LINE + "listed\t :   1   -> O:\n");
    WriteMutexListFile(false);
    EXPECT_EQ(ReadFile("MutexList"), HEAD);
    std::filesystem::remove("MutexList");
    std::filesystem::create_directory("MutexList");
    WriteMutexListFile(false);
    EXPECT_TRUE(std::filesystem::is_directory("MutexList"));
}

TEST_F(MutexList, IsNotWrittenWhereOnlyAStandardDescriptorIsFree) {
    WriteMutexListFile(true);  // A sanitizer opens files of its own at the first time.
    EXPECT_EQ(EndOf(StartProcess([] {
                  close(STDIN_FILENO);
                  rlimit usual;
                  getrlimit(RLIMIT_NOFILE, &usual);
                  const rlimit standardOnes{3, usual.rlim_max};
                  setrlimit(RLIMIT_NOFILE, &standardOnes);
                  WriteMutexListFile(true);
                  setrlimit(RLIMIT_NOFILE, &usual);  // And at the end.
                  return static_cast<int>(std::filesystem::file_size("MutexList"));
              })),
              0);
}

TEST_F(MutexList, FindsAMutexHeldForMoreThanTwentySecondsWithAWaiter) {
    const struct {
        const char* what;
        std::uint8_t inUse;
        std::uint32_t owner, waiter, lockTime, now;
        bool isFinding;
    } CASES[] = {{"exactly 20 seconds", 1, 17, 4711, 1000, 21000, false},
                 {"a millisecond more", 1, 17, 4711, 1000, 21001, true},
                 {"nobody waits", 1, 17, 0, 0, 3600000, false},
                 {"nobody holds", 1, 0, 4711, 0, 3600000, false},
                 {"no mutex", 0, 17, 4711, 0, 3600000, false},
                 {"being built", 2, 17, 4711, 0, 3600000, false},
                 {"20 seconds over the wrap", 1, 17, 4711, 0xFFFFFFFF, 19999, false},
                 {"more over the wrap", 1, 17, 4711, 0xFFFFFFFF, 20000, true}};
    for (const auto& row : CASES) {
        const auto check = [&row] {
            Deadlock(row.lockTime);
            MutexDbgList[1].InUse = row.inUse;
            MutexDbgList[1].Owner = row.owner;
            MutexDbgList[1].Waiter[4] = row.waiter;
            fakes::milliseconds = row.now;
            Check();
        };
        EXPECT_EXIT(check(), testing::ExitedWithCode(row.isFinding ? ABORTED : RETURNED),
                    row.isFinding ? "^pause 20\n$" : "^$")
            << row.what;
        EXPECT_EQ(std::filesystem::remove("MutexLog"), row.isFinding) << row.what;
    }
}

TEST_F(MutexList, FindsNothingWhereTheMutexIsGoneOrFreeInTheSameMoment) {
    static auto& mutex = *new std::unique_ptr<MutexLock>;
    mutex = std::make_unique<MutexLock>("passing");
    static const std::function<void()> EVENTS[] = {
        [] { mutex.reset(); },
        [] { mutex.reset(), mutex = std::make_unique<MutexLock>("next"), mutex->Lock(); },
        [] { mutex->Unlock(), mutex->Lock(); }};
    for (const auto& event : EVENTS) {
        const auto check = [&event] {
            mutex->Lock();
            MutexDbgList[1].LockTime = 1;
            MutexDbgList[1].Waiter[4] = 4711;
            fakes::atReading = [&event] {
                MutexDbgList[1].Waiter[4] = 0;
                event();
                MutexDbgList[1].Waiter[4] = 4712;
            };
            Check();
        };
        EXPECT_EXIT(check(), testing::ExitedWithCode(RETURNED), "^$") << &event - EVENTS;
    }
    mutex.reset();
}

TEST_F(MutexList, StampsAFirstLevelLockOnly) {
    MutexLock mutex("stamped");
    const struct {
        bool tries;
        std::uint32_t stamp;
        int releases;
    } STEPS[] = {{true, 0, 1}, {false, 1000002, 0}, {false, 1000002, 2}, {true, 1000002, 1}};
    for (const auto& [tries, stamp, releases] : STEPS) {
        ++fakes::milliseconds;
        tries ? static_cast<void>(mutex.TryLock(0)) : mutex.Lock();
        EXPECT_EQ(MutexDbgList[1].LockTime, stamp);
        for (int i = 0; i < releases; ++i)
            mutex.Unlock();
    }
}

TEST_F(MutexList, SeesAMutexDestroyedInSilenceByItsHolderAlone) {
    const struct {
        std::uint32_t strangeness, waiter;
        const char* condition;
    } CASES[] = {{0, 0, nullptr},
                 {1, 0, "(MutexDbgList[m_DbgListIndex].Owner == getOwnThreadId())"},
                 {0, 4711, "(MutexDbgList[m_DbgListIndex].Waiter[i] == 0)"}};
    for (const auto& [strangeness, waiter, condition] : CASES) {
        auto mutex = std::make_unique<MutexLock>("destroyed");
        mutex->Lock();
        MutexDbgList[1].Owner += strangeness;
        MutexDbgList[1].Waiter[4] = waiter;
        EXPECT_EQ(ReportOf([&] { mutex.reset(); }),
                  condition != nullptr ? Asserted("lockobj", {condition}) : "");
        EXPECT_EQ(MutexDbgList[1].InUse, RECORD_FREE);
    }
}

TEST_F(MutexList, AddsTheClientsThreadListToTheReportAndKeepsTheOneBefore) {
    WriteFile("MutexLog.bak", "before the first");
    const struct {
        std::string file, copied;
    } CASES[] = {{"", ""},
                 {std::string(1023, 'x'), std::string(1023, 'x')},
                 {std::string(1024, 'x'), std::string(1023, 'x')},
                 {"te\nxt\0hidden"s, "te\nxt"}};
    for (const auto& [file, copied] : CASES) {
        WriteFile("MutexLog", "the first");
        WriteFile("vyThreadList", file);
        EXPECT_FINDING(Deadlock());
        EXPECT_EQ(ReadFile("MutexLog"),
                  HEAD + "stuck\t :   1   -> O:17 | W: 4711\n"s + copied + "\n");
        EXPECT_EQ(ReadFile("MutexLog.bak"), "the first");
    }
}

TEST_F(MutexList, EndsTheProcessWithoutAReportToo) {
    std::filesystem::create_directories("MutexLog.bak/full");
    std::filesystem::create_directories("MutexLog");
    EXPECT_FINDING(Deadlock());
    EXPECT_TRUE(std::filesystem::is_directory("MutexLog"));
}

}  // namespace
