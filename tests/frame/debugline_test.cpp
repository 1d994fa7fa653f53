#include "utilities/frame/debugline.h"

#include <gtest/gtest.h>

TEST(DebugLine, TellsWhetherTheTextFitsAndPrintsNothing) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    for (const int length : {0, 1, 1024, 1025, 100000})
        EXPECT_EQ(printFmtDBGFile("%*s", length, ""), length > 1024 ? 0 : 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(), "");
}
