#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/report_of.h"
#include "tests/values/flat_forms.h"

namespace {

TEST(Equality, MeetsInTheCommonTypeInBothOrders) {
    struct Row {
        MultiType a, b;
        bool equal;
    };
    for (const auto& [a, b, equal] :
         {Row{{}, {}, true}, Row{{}, 0, false}, Row{{}, {0, nullptr, 0}, false},
          Row{{2, "ab", 1}, {2, "ab", 1}, true}, Row{{2, "ab", 1}, {2, "ab", 2}, false},
          Row{{2, "ab", 1}, {2, "ac", 1}, false}, Row{{2, "ab", 1}, {3, "abc", 1}, false},
          Row{{0, nullptr, 3}, {0, "", 3}, true}, Row{{2, "12", 1}, u"12", false},
          Row{9223372036854775808ull, 9223372036854775807.0, true}, Row{OddBool(5), 1, true},
          Row{OddBool(5), true, false}, Row{0.1f, 0.1, false}, Row{0.1f, u"0.1", false},
          Row{16777217, 16777216.0f, true}, Row{16777217u, 16777216.0f, true},
          Row{16777217ll, 16777216.0f, false}, Row{16777217ull, 16777216.0f, false},
          Row{NAN, u"7", true}}) {
        SCOPED_TRACE(a.GetAs<String>() + " (" + std::to_string(a.Type()) + ") and " +
                     b.GetAs<String>() + " (" + std::to_string(b.Type()) + ")");
        EXPECT_EQ(a == b, equal);
        EXPECT_EQ(b == a, equal);
    }
    EXPECT_TRUE(MultiType("9007199254740992") == MultiType(9007199254740993ll)) << "as a double";
}

TEST(Equality, OfNumbersIsThatOfTheirValues) {
    std::vector<std::pair<MultiType, std::string>> values = {
        {~0ull, "18446744073709551615"},
        {9223372036854775807ull, "9223372036854775807"},
        {"-1.0", "-1"},
        {u"-1.0", "-1"},
        {"1.0", "1"},
        {u"1.0", "1"},
        {1.0000001, "a little more than 1"},
        {"127.0", "127"},
        {u"127.0", "127"},
        {127.0000001, "a little more than 127"}};
    for (const std::string text : {"0", "0.5", "1", "1.5", "1.75", "-1", "127", "128", "-128",
                                   "255", "32767", "65535", "2147483647", "2147483648",
                                   "4294967295", "9223372036854775807", "-9223372036854775808"}) {
        for (int tag = MultiType::TYPE_BOOL; tag <= MultiType::TYPE_WSTRING; ++tag) {
            MultiType value;
            value.SetTyped(text, static_cast<MultiType::TYPE>(tag));
            // Of every type that holds it; long ones not as a text, which reads as a double.
            if (value.GetAs<String>() == text && (tag < MultiType::TYPE_STRING || text.size() < 6))
                values.emplace_back(value, text);
        }
    }
    for (const auto& [a, x] : values) {
        for (const auto& [b, y] : values)
            EXPECT_EQ(a == b, x == y) << x << " tag " << a.Type() << ", " << y << " " << b.Type();
    }
}

TEST(Compare, ReadsBothAsTheTypeThatTheCallerNames) {
    struct Row {
        MultiType a, b;
        int type, result;
    };
    for (const auto& row :
         {Row{OddBool(200), true, 2, 1}, Row{300, 500, 3, 0}, Row{-1, 1, 3, -1},
          Row{70000, 32767, 4, 0}, Row{3000000000u, 2147483647, 5, 0}, Row{-1, 4294967295u, 6, -1},
          Row{300, 255, 7, 0}, Row{-1, 0, 7, 0}, Row{70000, 65535, 8, 0},
          Row{~0ull, 4294967295u, 9, 0}, Row{~0ull, 1, 10, 1}, Row{16777217, 16777216, 11, 0},
          Row{0.1f, "0.1", 12, 1}, Row{NAN, 1, 12, 0}, Row{12, 9, 13, -1},
          Row{u"\x8000", u"a", 14, 1}, Row{1ll, ~0ull, 15, -1}, Row{-2, -1.0, 15, -1},
          Row{true, -1, 15, 1}}) {
        SCOPED_TRACE(row.a.GetAs<String>() + " and " + row.b.GetAs<String>() + " as " +
                     std::to_string(row.type));
        const auto type = static_cast<MultiType::TYPE>(row.type);
        EXPECT_EQ(MultiType::compare(row.a, row.b, type), row.result);
        EXPECT_EQ(MultiType::compare(row.b, row.a, type), -row.result);
        EXPECT_EQ(MultiType::compare(row.a, row.a, type), 0);
    }
}

TEST(Compare, OrdersTwoValuesOfEachTypeThatIsHeld) {
    for (int tag = MultiType::TYPE_BOOL; tag <= MultiType::TYPE_WSTRING; ++tag) {
        const auto type = static_cast<MultiType::TYPE>(tag);
        MultiType lower, higher;
        lower.SetTyped("0", type);
        higher.SetTyped("1", type);
        EXPECT_EQ(MultiType::compare(lower, higher, type), -1) << tag;
        EXPECT_EQ(MultiType::compare(higher, lower, type), 1) << tag;
        EXPECT_EQ(MultiType::compare(higher, higher, type), 0) << tag;
        EXPECT_FALSE(lower == higher) << tag;
    }
    const MultiType withNul(String("a\0b", 3));
    EXPECT_EQ(MultiType::compare(withNul, String("a\0c", 3), MultiType::TYPE_STRING), -1);
}

TEST(Compare, ReportsWhatIsNoWayToCompare) {
    const std::string report = Asserted("multitype", {"(false)"});
    for (const int type : {0, 1, 16, -1}) {
        const auto compare = [=] { return MultiType::compare(1, 2, MultiType::TYPE(type)); };
        EXPECT_EQ(ReportOf([=] { EXPECT_EQ(compare(), 0); }), report) << type;
    }
    EXPECT_EQ(ReportOf([] { EXPECT_FALSE(Tagged(15) == MultiType(1)); }), report);
    EXPECT_EQ(ReportOf([] { EXPECT_FALSE(MultiType(1) == Tagged(15)); }),
              Asserted("multitype", {"(v2.Type() < 15)"}));
}

}  // namespace
