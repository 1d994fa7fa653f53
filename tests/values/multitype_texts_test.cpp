#include <gtest/gtest.h>

#include <cmath>

#include "tests/support/scoped_locale.h"
#include "utilities/values/multitype.h"

namespace {

using namespace std::string_literals;

/// A boolean whose byte is above 1, as it arrives from memory.
class OddBool : public MultiType {
public:
    explicit OddBool(unsigned char byte) : MultiType(true) { m_v.b = byte; }
};

TEST(Texts, EveryValueHasOneFormInBothWidths) {
    const struct {
        MultiType value;
        const char* text;
    } rows[] = {{MultiType(), "Invalid"},
                {MultiType(false), "0"},
                {MultiType(true), "1"},
                {OddBool(5), "5"},
                {OddBool(255), "255"},
                {MultiType(char(-1)), "-1"},
                {MultiType(short(-32768)), "-32768"},
                {MultiType(-2147483647 - 1), "-2147483648"},
                {MultiType(-9223372036854775807ll - 1), "-9223372036854775808"},
                {MultiType(static_cast<unsigned char>(255)), "255"},
                {MultiType(static_cast<unsigned short>(65535)), "65535"},
                {MultiType(4294967295u), "4294967295"},
                {MultiType(18446744073709551615ull), "18446744073709551615"},
                {MultiType(0.1), "0.1"},
                {MultiType(0.1f), "0.1"},
                {MultiType(1234567.0), "1.23457e+06"},
                {MultiType(100000.0), "100000"},
                {MultiType(-1e-300), "-1e-300"},
                {MultiType(-0.0), "-0"},
                {MultiType(-HUGE_VAL), "-inf"},
                {MultiType(HUGE_VALF), "inf"},
                {MultiType("a text"), "a text"},
                {MultiType(u"a text"), "a text"},
                {MultiType(0, nullptr, 1), ""}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        String narrow("old");
        WString wide(u"old");
        row.value.Get(narrow);
        row.value.Get(wide);
        EXPECT_EQ(narrow, row.text);
        EXPECT_EQ(wide, WString(row.text));
    }
    EXPECT_EQ(MultiType(4, "ab\0c", 1).GetAs<String>(), "ab\0c"s);
    EXPECT_EQ(MultiType(4, u"a\0", 1).GetAs<WString>(), u"a\0"s);
    EXPECT_EQ(MultiType(3, u"ab", 1).GetAs<WString>(), u"a");
    EXPECT_EQ(MultiType(String("ab\0c"s)).GetAs<String>(), "ab\0c"s);
    EXPECT_EQ(MultiType(String("ab\0c"s)).GetAs<WString>(), u"ab");
    EXPECT_EQ(MultiType(u"\u0100").GetAs<String>(), "") << "the \"C\" locale has no such character";
}

TEST(Texts, AByteAboveOneOfABooleanPasses) {
    const OddBool odd(5);
    bool out = false;
    odd.Get(out);
    EXPECT_EQ(*reinterpret_cast<unsigned char*>(&out), 5);
    EXPECT_EQ(odd.GetAs<int>(), 1);
    EXPECT_EQ(odd.GetAs<double>(), 1.0);
}

TEST(Texts, ATextStoresAsEveryTag) {
    const struct {
        int type;
        const char *text, *stored;
        int tag;
    } rows[] = {{0, "anything", "Invalid", 0},
                {1, "ab", "ab", 1},
                {2, "", "0", 2},
                {2, "0", "0", 2},
                {2, "1", "1", 2},
                {2, "false", "1", 2},
                {3, "300", "127", 3},
                {3, "-300", "-128", 3},
                {4, "40000", "32767", 4},
                {4, " -40000 ", "-32768", 4},
                {5, "3000000000", "2147483647", 5},
                {5, "letters", "0", 5},
                {6, "5000000000", "5000000000", 6},
                {6, "-99999999999999999999", "-9223372036854775808", 6},
                {7, "300", "255", 7},
                {7, "-1", "0", 7},
                {8, "70000", "65535", 8},
                {9, "-1", "0", 9},
                {9, "4000000000", "4000000000", 9},
                {9, "5000000000", "4294967295", 9},
                {10, "5000000000", "4294967295", 10},
                {10, "-1", "0", 10},
                {11, "1e39", "3.40282e+38", 11},
                {11, "-1e39", "-3.40282e+38", 11},
                {11, "2.5x", "2.5", 11},
                {12, "1e39", "1e+39", 12},
                {13, "text", "text", 13},
                {14, "text", "text", 13},
                {15, "text", "text", 13},
                {99, "text", "text", 13},
                {-1, "text", "text", 13}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.text) + " as " + std::to_string(row.type));
        for (const MultiType& before : {MultiType("held"), MultiType(u"held"), MultiType(7)}) {
            MultiType value(before);
            EXPECT_TRUE(value.SetTyped(row.text, static_cast<MultiType::TYPE>(row.type)));
            EXPECT_EQ(value.Type(), row.tag);
            EXPECT_EQ(value.GetAs<String>(), row.stored);
        }
    }
    MultiType block;
    block.SetTyped(String("a\0b"s), MultiType::TYPE_RAW);
    unsigned int id = 9;
    EXPECT_EQ(block.Type(&id), MultiType::TYPE_RAW);
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(block.GetValueSize(), 3u);
}

}  // namespace
