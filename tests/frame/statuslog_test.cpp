#include "utilities/frame/statuslog.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/scratch.h"

namespace {

using namespace std::string_literals;

constexpr char CURRENT[] = "vy-current-status";
constexpr char LAST_STOP[] = "vy-last-stop-status";

TEST(StatusLog, KeepsWhatTheLastRunLeftAndFailsSilently) {
    const ScratchWorkingDirectory folder;
    VYStatusLogAppend("first");
    EXPECT_EQ(ReadFile(CURRENT), "\nfirst");
    VYStatusLogWrite("replaced");
    EXPECT_EQ(ReadFile(CURRENT), "replaced");
    VYStatusLogWrite("");
    EXPECT_EQ(std::filesystem::file_size(CURRENT), 0u);

    std::filesystem::remove(CURRENT);
    VYStatusLogStart();
    EXPECT_FALSE(std::filesystem::exists(LAST_STOP));
    VYStatusLogAppend("one");
    VYStatusLogAppend("");
    VYStatusLogAppend("two");
    VYStatusLogStart();
    EXPECT_EQ(ReadFile(LAST_STOP), "Start\0\none\n\ntwo"s);
    VYStatusLogStart();
    EXPECT_EQ(ReadFile(CURRENT), "Start\0"s);
    EXPECT_EQ(ReadFile(LAST_STOP), "Start\0"s);

    // A file that can't be moved aside is emptied all the same.
    VYStatusLogAppend("old");
    std::filesystem::remove(LAST_STOP);
    std::filesystem::create_directories(LAST_STOP + "/full"s);
    VYStatusLogStart();
    EXPECT_EQ(ReadFile(CURRENT), "Start\0"s);

    std::filesystem::remove(CURRENT);
    std::filesystem::create_directory(CURRENT);
    VYStatusLogWrite("text");
    VYStatusLogAppend("text");
    EXPECT_TRUE(std::filesystem::is_directory(CURRENT));
}

}  // namespace
