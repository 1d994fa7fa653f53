#include <chrono>

#include "tests/support/compression.h"
#include "tests/support/report_of.h"
#include "utilities/services/utilityfunctions.h"

using Compression = ScratchFolder;

TEST_F(Compression, IsKilledAfterThirtySeconds) {
    using Clock = std::chrono::steady_clock;
    Install("trap '' TERM INT; echo part; exec sleep 1000");
    const auto start = Clock::now();
    EXPECT_EQ(ReportOf([] { EXPECT_STREQ(ZIP("a", "b", true), ""); }), REPORT + MISSING);
    EXPECT_GE(Clock::now() - start, std::chrono::seconds(30));
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(60));
    EXPECT_FALSE(fs::exists("b.gz"));
}
