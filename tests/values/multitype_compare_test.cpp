#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "utilities/values/multitype.h"

namespace {

using namespace std::string_literals;

/// A value with any tag.
class Tagged : public MultiType {
public:
    explicit Tagged(int tag) { m_type = static_cast<MultiType::TYPE>(tag); }
};

class OddBool : public MultiType {
public:
    explicit OddBool(unsigned char byte) : MultiType(true) { m_v.b = byte; }
};

std::string ReportOf(auto&& action) {
    testing::internal::CaptureStderr();
    action();
    const std::string report = testing::internal::GetCapturedStderr();
    return report.substr(0, report.find(" line"));
}

TEST(Equality, MeetsInTheCommonTypeInBothOrders) {
    const __int64 largest = 9223372036854775807ll;
    const unsigned __int64 above = 9223372036854775808ull;
    const struct {
        MultiType a, b;
        bool equal;
    } rows[] = {{MultiType(), MultiType(), true},
                {MultiType(), MultiType(0), false},
                {MultiType(), MultiType(0, nullptr, 0), false},
                {MultiType(2, "ab", 1), MultiType(2, "ab", 1), true},
                {MultiType(2, "ab", 1), MultiType(2, "ab", 2), false},
                {MultiType(2, "ab", 1), MultiType(2, "ac", 1), false},
                {MultiType(2, "ab", 1), MultiType(3, "abc", 1), false},
                {MultiType(0, nullptr, 3), MultiType(0, "", 3), true},
                {MultiType(2, "12", 1), MultiType("12"), false},
                {MultiType(-1), MultiType(4294967295u), false},
                {MultiType(char(-1)), MultiType(static_cast<unsigned char>(255)), false},
                {MultiType(short(-1)), MultiType(static_cast<unsigned short>(65535)), false},
                {MultiType(char(-1)), MultiType(static_cast<unsigned short>(65535)), false},
                {MultiType(-1), MultiType(~0ull), false},
                {MultiType(-1ll), MultiType(~0ull), false},
                {MultiType(5), MultiType(5ull), true},
                {MultiType(largest), MultiType(above), false},
                {MultiType(above - 1), MultiType(largest), true},
                {MultiType(above), MultiType(9223372036854775807.0), true},  // capped, then rounded
                {MultiType(true), MultiType(1), true},
                {MultiType(true), MultiType(2), false},
                {OddBool(5), MultiType(1), true},
                {OddBool(5), MultiType(true), false},
                {MultiType(true), MultiType("1.0"), true},
                {MultiType(true), MultiType(1.0), true},
                {MultiType(0.1f), MultiType(0.1), false},
                {MultiType(0.5f), MultiType(0.5), true},
                {MultiType(16777217), MultiType(16777216.0f), true},
                {MultiType(16777217ll), MultiType(16777216.0f), false},
                {MultiType("12"), MultiType(12), true},
                {MultiType("12"), MultiType(u"12.0"), true},
                {MultiType("word"), MultiType("other"), true},
                {MultiType("word"), MultiType(0), true},
                {MultiType(NAN), MultiType(NAN), true},
                {MultiType(NAN), MultiType(7), true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.a.GetAs<String>() + " (" + std::to_string(row.a.Type()) + ") and " +
                     row.b.GetAs<String>() + " (" + std::to_string(row.b.Type()) + ")");
        EXPECT_EQ(row.a == row.b, row.equal);
        EXPECT_EQ(row.b == row.a, row.equal);
    }
}

/// Integers of all kinds and sizes, equal exactly when they are the same number, but for the pairs
/// that meet in a type narrower than one of them is wide: there are none.
TEST(Equality, OfIntegersIsThatOfTheNumbers) {
    std::vector<std::pair<MultiType, long double>> values;
    for (const long double number :
         {0.0L, 1.0L, -1.0L, 127.0L, 128.0L, -128.0L, 255.0L, 256.0L, 32767.0L, 65535.0L,
          2147483647.0L, 2147483648.0L, 4294967295.0L, 9223372036854775807.0L,
          -9223372036854775808.0L, 18446744073709551615.0L}) {
        const auto add = [&](auto zero) {
            using T = decltype(zero);
            if (number >= static_cast<long double>(std::numeric_limits<T>::min()) &&
                number <= static_cast<long double>(std::numeric_limits<T>::max()))
                values.emplace_back(MultiType(static_cast<T>(number)), number);
        };
        add(char()), add(short()), add(int()), add(0ll);
        add(static_cast<unsigned char>(0)), add(static_cast<unsigned short>(0)), add(0u), add(0ull);
    }
    for (const auto& [a, x] : values) {
        for (const auto& [b, y] : values)
            EXPECT_EQ(a == b, x == y) << x << " tag " << a.Type() << ", " << y << " " << b.Type();
    }
}

TEST(Compare, ReadsBothAsTheTypeThatTheCallerNames) {
    const struct {
        MultiType a, b;
        int type, result;
    } rows[] = {{OddBool(200), MultiType(true), 2, 1},
                {MultiType(300), MultiType(500), 3, 0},
                {MultiType(-1), MultiType(1), 3, -1},
                {MultiType(-1), MultiType(1), 4, -1},
                {MultiType(70000), MultiType(32767), 4, 0},
                {MultiType(-1), MultiType(4294967295u), 6, -1},
                {MultiType(-1), MultiType(0), 7, 0},
                {MultiType(255), MultiType(1), 7, 1},
                {MultiType(65535), MultiType(1), 8, 1},
                {MultiType(4294967295u), MultiType(1), 9, 1},
                {MultiType(~0ull), MultiType(1), 10, 1},
                {MultiType(16777217), MultiType(16777216), 11, 0},
                {MultiType(1.5), MultiType("1.25"), 12, 1},
                {MultiType(NAN), MultiType(1), 12, 0},
                {MultiType("word"), MultiType("other"), 13, 1},
                {MultiType(12), MultiType(9), 13, -1},
                {MultiType("a"), MultiType("ab"), 13, -1},
                {MultiType("\x80"), MultiType("a"), 13, 1},
                {MultiType(u"\x8000"), MultiType(u"a"), 14, 1},
                {MultiType(-1), MultiType(~0ull), 15, -1},
                {MultiType(1ll), MultiType(9223372036854775808ull), 15, -1},
                {MultiType(-2), MultiType(-1.0), 15, -1},
                {MultiType(5u), MultiType(4ull), 15, 1},
                {MultiType(true), MultiType(-1), 15, 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.a.GetAs<String>() + " and " + row.b.GetAs<String>() + " as " +
                     std::to_string(row.type));
        const auto type = static_cast<MultiType::TYPE>(row.type);
        EXPECT_EQ(MultiType::compare(row.a, row.b, type), row.result);
        EXPECT_EQ(MultiType::compare(row.b, row.a, type), -row.result);
        EXPECT_EQ(MultiType::compare(row.a, row.a, type), 0);
    }
}

TEST(Compare, ReportsWhatIsNoWayToCompare) {
    for (const int type : {0, 1, 16, -1}) {
        int result = 7;
        EXPECT_EQ(ReportOf([&] {
                      result = MultiType::compare(MultiType(1), MultiType(2),
                                                  static_cast<MultiType::TYPE>(type));
                  }),
                  "ASSERT((false) in: .\\multitype ");
        EXPECT_EQ(result, 0);
    }
    bool equal = true;
    EXPECT_EQ(ReportOf([&] { equal = Tagged(15) == MultiType(1); }),
              "ASSERT((false) in: .\\multitype ");
    EXPECT_FALSE(equal);
    EXPECT_EQ(ReportOf([&] { equal = MultiType(1) == Tagged(15); }),
              "ASSERT((v2.Type() < 15) in: .\\multitype ");
}

}  // namespace
