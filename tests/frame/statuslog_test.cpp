#include "utilities/frame/statuslog.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/scratch.h"

TEST(StatusLog, KeepsWhatTheLastRunLeftAndFailsSilently) {
    using namespace std::filesystem;
    const std::string start("Start", 6), current = "vy-current-status",
                                         lastStop = "vy-last-stop-status";
    const ScratchWorkingDirectory folder;
    const auto descriptors = OpenDescriptors();
    VYStatusLogStart();
    EXPECT_FALSE(exists(lastStop));
    for (const char* text : {"one", "", "two"})
        VYStatusLogAppend(text);
    for (const std::string& left : {start + "\none\n\ntwo", start}) {
        VYStatusLogStart();
        EXPECT_EQ(ReadFile(lastStop) + ReadFile(current), left + start);
    }
    for (const char* text : {"replaced", ""}) {
        VYStatusLogWrite(text);
        EXPECT_EQ(ReadFile(current), text);
    }
    EXPECT_TRUE(remove(current));
    EXPECT_TRUE(remove(lastStop));
    VYStatusLogAppend("first");
    EXPECT_EQ(ReadFile(current), "\nfirst");

    create_directories(lastStop + "/full");
    VYStatusLogStart();
    EXPECT_EQ(ReadFile(current), start) << "emptied where it can't be moved aside";

    remove(current);
    create_directory(current);
    VYStatusLogStart();
    VYStatusLogWrite("text");
    VYStatusLogAppend("text");
    EXPECT_TRUE(is_directory(current));
    EXPECT_EQ(OpenDescriptors(), descriptors);
}
