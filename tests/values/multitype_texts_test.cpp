#include <gtest/gtest.h>

#include "tests/support/scoped_locale.h"
#include "tests/values/flat_forms.h"

namespace {

using namespace std::string_literals;

TEST(Texts, EveryValueHasOneFormInBothWidths) {
    const ScopedLocale locale("C.utf8");
    for (const Flat& flat : FlatForms()) {
        String narrow("old");
        WString wide(u"old");
        flat.value.Get(narrow);
        flat.value.Get(wide);
        EXPECT_EQ(narrow, flat.text);
        EXPECT_EQ(wide, WString(flat.text)) << flat.text;
    }
    EXPECT_EQ(MultiType(5, u"a\0\0", 1).GetAs<WString>(), u"a\0"s);
    const MultiType withNul(String("ab\0c"s));
    EXPECT_EQ(withNul.GetAs<String>(), "ab\0c"s);
    EXPECT_EQ(withNul.GetAs<WString>(), u"ab");
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
        for (MultiType value : {MultiType(4, "held", 7), MultiType(u"held")}) {
            unsigned int id = 9;
            EXPECT_TRUE(value.SetTyped(row.text, static_cast<MultiType::TYPE>(row.type)));
            EXPECT_EQ(value.Type(&id), row.type >= 0 && row.type < 13 ? row.type : 13);
            EXPECT_EQ(id, 0u);
            EXPECT_EQ(value.GetAs<String>(), row.stored);
        }
    }
    MultiType block;
    block.SetTyped(String("a\0b"s), MultiType::TYPE_RAW);
    EXPECT_EQ(block.GetAs<String>(), "a\0b"s);
}

}  // namespace
