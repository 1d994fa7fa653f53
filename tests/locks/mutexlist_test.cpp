#include "utilities/locks/mutexlist.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <optional>
#include <regex>
#include <sstream>
#include <string>
#include <thread>

#include "tests/fakes/clock.h"
#include "tests/support/eventually.h"
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

/// Each case runs in an empty working directory, with a clock of its own. The process in which it
/// is to die runs it once more, in the same directory.
class MutexList : public testing::Test {
protected:
    void SetUp() override {
        testing::FLAGS_gtest_death_test_style = "threadsafe";
        if (std::getenv(FOLDER) == nullptr) {
            scratch_.emplace();
            setenv(FOLDER, (*scratch_ / "").c_str(), 1);
        }
        std::filesystem::current_path(std::getenv(FOLDER));
        fakes::milliseconds = 1000000;
    }
    void TearDown() override {
        std::filesystem::current_path(before_);
        unsetenv(FOLDER);
    }

private:
    static constexpr char FOLDER[] = "MUTEXLIST_TEST_FOLDER";
    std::filesystem::path before_ = std::filesystem::current_path();
    std::optional<ScratchDirectory> scratch_;
};

/// A mutex that is held since `lockTime` with a thread in its last slot.
void Deadlock(std::uint32_t lockTime = 1) {
    static MutexLock* const mutex = new MutexLock("stuck");
    mutex->Lock();
    MutexDbgList[1].Owner = 17;
    MutexDbgList[1].LockTime = lockTime;
    MutexDbgList[1].Waiter[4] = 4711;
}

#define EXPECT_FINDING(statement) \
    EXPECT_EXIT(statement;        \
                checkMutexListForDeadlock(), testing::KilledBySignal(SIGABRT), "^pause 20\n$")

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

TEST_F(MutexList, FindsAMutexHeldForMoreThanTwentySecondsWithAWaiter) {
    const struct {
        const char* what;
        std::uint8_t inUse;
        std::uint32_t owner, waiter, lockTime, now;
        bool isFinding;
    } CASES[] = {{"exactly 20 seconds", 1, 17, 4711, 1000, 21000, false},
                 {"a millisecond more", 1, 17, 4711, 1000, 21001, true},
                 {"an hour", 1, 17, 4711, 0, 3600000, true},
                 {"nobody waits", 1, 17, 0, 0, 3600000, false},
                 {"nobody holds", 1, 0, 4711, 0, 3600000, false},
                 {"no mutex", 0, 17, 4711, 0, 3600000, false},
                 {"being built", 2, 17, 4711, 0, 3600000, false},
                 {"20 seconds over the wrap", 1, 17, 4711, 0xFFFFFFFF, 19999, false},
                 {"more over the wrap", 1, 17, 4711, 0xFFFFFFFF, 20000, true}};
    for (const auto& row : CASES) {
        SCOPED_TRACE(row.what);
        const auto arrange = [&row] {
            Deadlock(row.lockTime);
            MutexDbgList[1].InUse = row.inUse;
            MutexDbgList[1].Owner = row.owner;
            MutexDbgList[1].Waiter[4] = row.waiter;
            fakes::milliseconds = row.now;
        };
        if (row.isFinding) {
            EXPECT_FINDING(arrange());
        } else {
            EXPECT_EXIT(arrange(); checkMutexListForDeadlock();
                        std::_Exit(7), testing::ExitedWithCode(7), "^$");
            EXPECT_FALSE(std::filesystem::exists("MutexLog"));
        }
        std::filesystem::remove("MutexLog");
    }
}

TEST_F(MutexList, StampsAFirstLevelLockOnly) {
    MutexLock mutex("stamped");
    const auto stamp = [] { return MutexDbgList[1].LockTime.load(); };
    ASSERT_TRUE(mutex.TryLock(0));
    EXPECT_EQ(stamp(), 0u);
    mutex.Unlock();
    mutex.Lock();
    EXPECT_EQ(stamp(), 1000000u);
    fakes::milliseconds = 1000007;
    mutex.Lock();
    EXPECT_EQ(stamp(), 1000000u);
    mutex.Unlock();
    mutex.Unlock();
    EXPECT_EQ(stamp(), 1000000u);
    EXPECT_TRUE(mutex.TryLock(0));
    EXPECT_EQ(stamp(), 1000000u);
    mutex.Unlock();
}

TEST_F(MutexList, ADeadlockOfTwoThreadsLeavesItsReport) {
    EXPECT_FINDING({
        static MutexLock first("first");
        static MutexLock second("second");
        static std::atomic<int> holders{0};
        const auto lock = [](MutexLock& own, MutexLock& other) {
            own.Lock();
            ++holders;
            while (holders < 2)
                std::this_thread::yield();
            other.Lock();
        };
        std::thread([&] { lock(first, second); }).detach();
        std::thread([&] { lock(second, first); }).detach();
        const auto waits = [](int index) { return MutexDbgList[index].Waiter[0] != 0; };
        EXPECT_TRUE(Eventually([&] { return holders == 2 && waits(1) && waits(2); }));
        fakes::milliseconds = 1020000;
        checkMutexListForDeadlock();
        fakes::milliseconds = 1020001;
    });
    const std::regex report(
        "(.*\n){2}first\t :   1   -> O:(\\d+) \\| W: (\\d+)\n"
        "second\t :   2   -> O:\\3 \\| W: \\2\n");
    EXPECT_TRUE(std::regex_match(ReadFile("MutexLog"), report)) << ReadFile("MutexLog");
}

TEST_F(MutexList, AddsTheClientsThreadListToTheReportAndKeepsTheOneBefore) {
    WriteFile("MutexLog.bak", "before the first");
    const struct {
        std::string file, copied;
    } CASES[] = {{"", ""},
                 {"one\ntwo", "one\ntwo"},
                 {std::string(1023, 'x'), std::string(1023, 'x')},
                 {std::string(1024, 'x'), std::string(1023, 'x')},
                 {"text\0hidden"s, "text"}};
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
