#include "utilities/frame/debugline.h"

#include <gtest/gtest.h>

#include <string>

TEST(DebugLine, TellsWhetherTheTextFitsAndPrintsNothing) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(printFmtDBGFile(""), 1);
    EXPECT_EQ(printFmtDBGFile("%s", std::string(1024, 'x').c_str()), 1);
    EXPECT_EQ(printFmtDBGFile("%s", std::string(1025, 'x').c_str()), 0);
    EXPECT_EQ(printFmtDBGFile("%100000d\n", 1), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}
