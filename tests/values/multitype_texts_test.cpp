#include <gtest/gtest.h>

#include <cmath>

#include "tests/values/flat_forms.h"

namespace {

using namespace std::string_literals;

TEST(Texts, EveryValueHasOneFormInBothWidths) {
    struct Row {
        MultiType value;
        const char* text;
    };
    for (const auto& [value, text] :
         {Row{{}, "Invalid"}, Row{true, "1"}, Row{OddBool(255), "255"}, Row{char(-1), "-1"},
          Row{short(-32768), "-32768"}, Row{-2147483647 - 1, "-2147483648"},
          Row{-9223372036854775807ll - 1, "-9223372036854775808"},
          Row{static_cast<unsigned char>(255), "255"},
          Row{static_cast<unsigned short>(65535), "65535"}, Row{4294967295u, "4294967295"},
          Row{~0ull, "18446744073709551615"}, Row{0.1, "0.1"}, Row{0.1f, "0.1"},
          Row{1234567.0, "1.23457e+06"}, Row{-HUGE_VALF, "-inf"}, Row{"a text", "a text"},
          Row{u"a text", "a text"}, Row{{0, nullptr, 1}, ""}}) {
        SCOPED_TRACE(text);
        String narrow("old");
        WString wide(u"old");
        value.Get(narrow);
        value.Get(wide);
        EXPECT_EQ(narrow, text);
        EXPECT_EQ(wide, WString(text));
    }
    EXPECT_EQ(MultiType(4, "ab\0c", 1).GetAs<String>(), "ab\0c"s);
    EXPECT_EQ(MultiType(4, u"a\0", 1).GetAs<WString>(), u"a\0"s);
    EXPECT_EQ(MultiType(3, u"ab", 1).GetAs<WString>(), u"a");
    EXPECT_EQ(MultiType(String("ab\0c"s)).GetAs<String>(), "ab\0c"s);
    EXPECT_EQ(MultiType(String("ab\0c"s)).GetAs<WString>(), u"ab");
    EXPECT_EQ(MultiType(u"\u0100").GetAs<String>(), "") << "the \"C\" locale has no such character";
}

TEST(Texts, ATextStoresAsEveryTag) {
    struct Row {
        int type;
        const char *text, *stored;
    };
    for (const auto& row :
         {Row{0, "anything", "Invalid"}, Row{1, "ab", "ab"}, Row{2, "0", "0"}, Row{2, "false", "1"},
          Row{3, "-300", "-128"}, Row{4, " 40000 ", "32767"}, Row{5, "3000000000", "2147483647"},
          Row{5, "letters", "0"}, Row{6, "-99999999999999999999", "-9223372036854775808"},
          Row{7, "300", "255"}, Row{8, "70000", "65535"}, Row{9, "5000000000", "4294967295"},
          Row{10, "5000000000", "4294967295"}, Row{11, "-1e39", "-3.40282e+38"},
          Row{12, "1e39", "1e+39"}, Row{13, "text", "text"}, Row{14, "text", "text"},
          Row{15, "text", "text"}, Row{-1, "text", "text"}}) {
        SCOPED_TRACE(std::string(row.text) + " as " + std::to_string(row.type));
        for (MultiType value : {MultiType("held"), MultiType(u"held"), MultiType(7)}) {
            EXPECT_TRUE(value.SetTyped(row.text, static_cast<MultiType::TYPE>(row.type)));
            EXPECT_EQ(value.Type(), row.type >= 0 && row.type < 13 ? row.type : 13);
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
