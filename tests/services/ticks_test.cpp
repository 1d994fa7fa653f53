#include "utilities/services/ticks.h"

#include <gtest/gtest.h>

#include "utilities/services/utilityfunctions.h"

TEST(Ticks, CountTheMillisecondsOfAPauseAlsoAcrossTheWrap) {
    const unsigned int before = GetSystemTickCount();
    BqSleep(30);
    BqSleep(0);
    const unsigned int ticks = CalculateTicksDifference(GetSystemTickCount(), before);
    EXPECT_GE(ticks, 30u);
    EXPECT_LT(ticks, 10000u);
    EXPECT_EQ(CalculateTicksDifference(5, 0xFFFFFFFE), 7u);
    EXPECT_EQ(CalculateTicksDifference(1, 2), 0xFFFFFFFF);
}

TEST(HexAToUint, ReadsTheLeadingDigits) {
    struct Row {
        const char* text;
        unsigned int value;
        int length;
    };
    for (const auto& [text, value, length] :
         {Row{"1aF", 0x1AF, 3}, Row{"0x10", 0, 1}, Row{"", 0, 0}, Row{" 1", 0, 0}, Row{"-1", 0, 0},
          Row{"FFFFFFFFF", 0xFFFFFFFF, 9}, Row{"123456789", 0x23456789, 9}, Row{"9/", 9, 1},
          Row{"9:", 9, 1}, Row{"A@", 10, 1}, Row{"FG", 15, 1}, Row{"a`", 10, 1}, Row{"fg", 15, 1},
          Row{"7\xb0", 7, 1}}) {
        const char* end = nullptr;
        EXPECT_EQ(HexAToUint(text, &end), value) << text;
        EXPECT_EQ(end - text, length) << text;
        EXPECT_EQ(HexAToUint(text, nullptr), value) << text;
    }
}
