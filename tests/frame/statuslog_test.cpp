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

std::string Content(const char* path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// All in one case, as it changes the working directory.
TEST(StatusLog, KeepsWhatTheLastRunLeftAndFailsSilently) {
    const std::filesystem::path before = std::filesystem::current_path();
    const std::string folder = testing::TempDir() + "statuslog";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directory(folder);
    std::filesystem::current_path(folder);
    VYStatusLogAppend("first");
    EXPECT_EQ(Content(CURRENT), "\nfirst");
    VYStatusLogWrite("replaced");
    EXPECT_EQ(Content(CURRENT), "replaced");
    VYStatusLogWrite("");
    EXPECT_EQ(std::filesystem::file_size(CURRENT), 0u);

    std::filesystem::remove(CURRENT);
    VYStatusLogStart();
    EXPECT_FALSE(std::filesystem::exists(LAST_STOP));
    VYStatusLogAppend("one");
    VYStatusLogAppend("");
    VYStatusLogAppend("two");
    VYStatusLogStart();
    EXPECT_EQ(Content(LAST_STOP), "Start\0\none\n\ntwo"s);
    VYStatusLogStart();
    EXPECT_EQ(Content(CURRENT), "Start\0"s);
    EXPECT_EQ(Content(LAST_STOP), "Start\0"s);

    // A file that can't be moved aside is emptied all the same.
    VYStatusLogAppend("old");
    std::filesystem::remove(LAST_STOP);
    std::filesystem::create_directories(LAST_STOP + "/full"s);
    VYStatusLogStart();
    EXPECT_EQ(Content(CURRENT), "Start\0"s);

    std::filesystem::remove(CURRENT);
    std::filesystem::create_directory(CURRENT);
    VYStatusLogWrite("text");
    VYStatusLogAppend("text");
    EXPECT_TRUE(std::filesystem::is_directory(CURRENT));
    std::filesystem::current_path(before);
    std::filesystem::remove_all(folder);
}

}  // namespace
