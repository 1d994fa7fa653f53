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
    for (const char* text : {"replaced", ""}) {
        VYStatusLogWrite(text);
        EXPECT_EQ(ReadFile(CURRENT), text);
    }
    EXPECT_TRUE(std::filesystem::remove(CURRENT));

    VYStatusLogStart();
    EXPECT_FALSE(std::filesystem::exists(LAST_STOP));
    for (const char* text : {"one", "", "two"})
        VYStatusLogAppend(text);
    for (const std::string& left : {"Start\0\none\n\ntwo"s, "Start\0"s}) {
        VYStatusLogStart();
        EXPECT_EQ(ReadFile(LAST_STOP) + ReadFile(CURRENT), left + "Start\0"s);
    }

    VYStatusLogAppend("old");
    std::filesystem::remove(LAST_STOP);
    std::filesystem::create_directories(LAST_STOP + "/full"s);
    VYStatusLogStart();
    EXPECT_EQ(ReadFile(CURRENT), "Start\0"s) << "emptied where it can't be moved aside";

    std::filesystem::remove(CURRENT);
    std::filesystem::create_directory(CURRENT);
    VYStatusLogStart();
    VYStatusLogWrite("text");
    VYStatusLogAppend("text");
    EXPECT_TRUE(std::filesystem::is_directory(CURRENT));
}

}  // namespace
