#include "utilities/frame/statuslog.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

using namespace std::string_literals;

constexpr char CURRENT[] = "vy-current-status";
constexpr char LAST_STOP[] = "vy-last-stop-status";

/// Each case runs in an empty working directory.
class StatusLog : public testing::Test {
protected:
    void SetUp() override {
        folder_ = testing::TempDir() + "statuslog-" +
                  testing::UnitTest::GetInstance()->current_test_info()->name();
        std::filesystem::create_directory(folder_);
        std::filesystem::current_path(folder_);
    }
    void TearDown() override {
        std::filesystem::current_path(before_);
        std::filesystem::remove_all(folder_);
    }
    static std::string Content(const char* path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::filesystem::path before_ = std::filesystem::current_path();
    std::string folder_;
};

TEST_F(StatusLog, KeepsWhatTheLastRunLeft) {
    VYStatusLogStart();
    EXPECT_EQ(Content(CURRENT), "Start\0"s);
    EXPECT_FALSE(std::filesystem::exists(LAST_STOP));
    VYStatusLogAppend("one");
    VYStatusLogAppend("");
    VYStatusLogAppend("two");
    EXPECT_EQ(Content(CURRENT), "Start\0\none\n\ntwo"s);
    VYStatusLogStart();
    EXPECT_EQ(Content(CURRENT), "Start\0"s);
    EXPECT_EQ(Content(LAST_STOP), "Start\0\none\n\ntwo"s);
    VYStatusLogStart();
    EXPECT_EQ(Content(LAST_STOP), "Start\0"s);
}

TEST_F(StatusLog, WriteReplacesAndAppendCreates) {
    VYStatusLogAppend("first");
    EXPECT_EQ(Content(CURRENT), "\nfirst");
    VYStatusLogWrite("replaced");
    EXPECT_EQ(Content(CURRENT), "replaced");
    VYStatusLogWrite("");
    EXPECT_TRUE(std::filesystem::exists(CURRENT));
    EXPECT_EQ(Content(CURRENT), "");
}

TEST_F(StatusLog, FailsSilently) {
    std::filesystem::create_directory(CURRENT);
    VYStatusLogWrite("text");
    VYStatusLogAppend("text");
    EXPECT_TRUE(std::filesystem::is_directory(CURRENT));
    std::filesystem::remove(CURRENT);

    // A file that can't be moved aside is emptied all the same.
    VYStatusLogWrite("old");
    std::filesystem::create_directories(LAST_STOP + "/full"s);
    VYStatusLogStart();
    EXPECT_EQ(Content(CURRENT), "Start\0"s);
}

}  // namespace
