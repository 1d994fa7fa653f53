#include "utilities/services/ticks.h"

#include <gtest/gtest.h>

#include <chrono>

#include "utilities/services/utilityfunctions.h"

TEST(Ticks, DifferenceSurvivesTheWrap) {
    EXPECT_EQ(CalculateTicksDifference(5, 0xFFFFFFFE), 7u);
    EXPECT_EQ(CalculateTicksDifference(7, 7), 0u);
    EXPECT_EQ(CalculateTicksDifference(1, 2), 0xFFFFFFFF);
}

TEST(Ticks, CountTheMillisecondsOfAPause) {
    using Clock = std::chrono::steady_clock;
    const unsigned int before = GetSystemTickCount();
    const auto start = Clock::now();
    BqSleep(30);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(30));
    const unsigned int ticks = CalculateTicksDifference(GetSystemTickCount(), before);
    EXPECT_GE(ticks, 29u);  // The counter drops fractions.
    EXPECT_LT(ticks, 10000u);
}

TEST(HexAToUint, ReadsTheLeadingDigits) {
    const struct {
        const char* text;
        unsigned int value;
        int length;
    } CASES[] = {{"1aF", 0x1AF, 3},
                 {"0x10", 0, 1},
                 {"", 0, 0},
                 {"xyz", 0, 0},
                 {"FFFFFFFFF", 0xFFFFFFFF, 9},
                 {"123456789", 0x23456789, 9},
                 {" 1", 0, 0},
                 {"-1", 0, 0},
                 {"9/", 9, 1},
                 {"9:", 9, 1},
                 {"A@", 10, 1},
                 {"FG", 15, 1},
                 {"a`", 10, 1},
                 {"fg", 15, 1},
                 {"7\xb0", 7, 1}};
    for (const auto& [text, value, length] : CASES) {
        const char* end = nullptr;
        EXPECT_EQ(HexAToUint(text, &end), value) << text;
        EXPECT_EQ(end - text, length) << text;
        EXPECT_EQ(HexAToUint(text, nullptr), value) << text;
    }
}
