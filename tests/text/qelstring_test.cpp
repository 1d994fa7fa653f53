#include "utilities/text/qelstring.h"

#include <gtest/gtest.h>

#include <array>
#include <stdexcept>
#include <utility>
#include <vector>

#include "tests/support/both_widths.h"
#include "tests/support/scoped_locale.h"

namespace {

using Narrow = std::basic_string<char>;
using Wide = std::basic_string<WideChar>;
using namespace std::string_literals;

TEST(Crossing, EveryOperationConverts) {
    const ScopedLocale locale("C.utf8");
    EXPECT_EQ(String(u"gr\u00FC\u00DF"s), "gr\xC3\xBC\xC3\x9F");
    EXPECT_EQ(WString("gr\xC3\xBC\xC3\x9F"), u"gr\u00FC\u00DF");
    EXPECT_EQ(WString("\xF0\x9F\x98\x80"s), u"\xD83D\xDE00");
    EXPECT_THROW(String(static_cast<const char*>(nullptr)), std::logic_error);
    WString wide(u"old");
    String narrow("old");
    String("x€").ToWideString(wide);
    WString(u"x€").ToNarrowString(narrow);
    EXPECT_EQ(wide, u"x€");
    EXPECT_EQ(narrow, "x€");
    ForBothWidths([]<class Text>(Text text) {
        using Other = OtherOf<Text>;
        text.Assign(Other("x€"));
        EXPECT_EQ(text, Text("x€"));
        text.Append(Other("é"));
        text.Insert(1, Other("<€"));
        EXPECT_EQ(text, Text("x<€€é"));
        text.Replace(0, 2, Other("é+"));
        EXPECT_EQ(text, Text("é+€€é"));
        const auto beyond = static_cast<unsigned int>(text.size() + 1);
        EXPECT_THROW(text.Insert(beyond, Other()), std::out_of_range);
        EXPECT_THROW(text.Replace(beyond, 0, Other()), std::out_of_range);
        EXPECT_EQ(text.Compare(Other("é+€€é")), 0);
        EXPECT_GT(text.Compare(Other("é+€€")), 0);
        EXPECT_LT(text.Compare(Other("é,")), 0);
    });
}

TEST(Crossing, SearchesGiveTheBasesPositions) {
    ForBothWidths([]<class Text>(Text text) {
        text = Text("xab-ab.");
        const OtherOf<Text> ab("ab"), none("q");
        const std::vector<int> whole = {text.Find(ab), text.Find(ab, 2), text.Find(none),
                                        text.Rfind(ab), text.Rfind(ab, 3)};
        EXPECT_EQ(whole, (std::vector<int>{1, 4, -1, 4, 1}));
        const std::vector<int> any = {text.Find_first_of(ab), text.Find_first_of(ab, 3),
                                      text.Find_last_of(ab), text.Find_last_of(ab, 3),
                                      text.Find_last_of(none)};
        EXPECT_EQ(any, (std::vector<int>{1, 4, 5, 2, -1}));
        const std::vector<int> others = {text.Find_first_not_of(ab), text.Find_first_not_of(ab, 1),
                                         text.Find_last_not_of(ab), text.Find_last_not_of(ab, 2)};
        EXPECT_EQ(others, (std::vector<int>{0, 3, 6, 0}));
    });
}

TEST(Crossing, FailsWholeAndEndsAtNulAndAtTheCapacity) {
    String s("kept?");
    s.Assign(u"abc\u0100"s);
    EXPECT_EQ(s, "") << "the \"C\" locale has no such character";
    EXPECT_EQ(String("ab").Find(u"\u0100"s), 0) << "searched for the empty text";
    EXPECT_EQ(WString("ab\0cd"s), u"ab");
    EXPECT_EQ(String(u"ab\0cd"s), "ab");

    const ScopedLocale locale("C.utf8");
    // 2 n + 2 bytes hold n + (2 - n) / 3 characters of three bytes, whole.
    for (const auto& [units, bytes] : {std::pair(2u, 6u), {3, 6}, {10, 21}, {1000, 2001}})
        EXPECT_EQ(String(Wide(units, u'€')).size(), bytes);
    EXPECT_EQ(WString(Narrow(5000, 'x')), Wide(5000, u'x'));
}

TEST(Subsets, AreJudgedByValueUpToTheFirstNul) {
    struct Row {
        Wide text;
        bool ascii, latin1;
        Narrow toAscii, toLatin1;
    };
    for (const auto& row :
         {Row{u"", true, true, "", ""}, Row{u"\x01~\x7F", true, true, "\x01~\x7F", "\x01~\x7F"},
          Row{u"a\u0080", false, false, "a?", "a?"}, Row{u"\u009Fz", false, false, "?z", "?z"},
          Row{u"\u00A0\u00FF", false, true, "??", "\xA0\xFF"},
          Row{u"\u0100\uFF41", false, false, "??", "??"},
          Row{u"a\0\u0100"s, true, true, "a", "a"}}) {
        SCOPED_TRACE(testing::PrintToString(row.text));
        const WString wide(row.text);
        EXPECT_EQ(wide.IsASCII(), row.ascii);
        EXPECT_EQ(wide.IsLatin1(), row.latin1);
        Narrow out = "old";
        EXPECT_TRUE(wide.ToASCIIString(out));
        EXPECT_EQ(out, row.toAscii);
        EXPECT_TRUE(wide.ToLatin1String(out));
        EXPECT_EQ(out, row.toLatin1);
        if (row.text.find_first_of(u"\u0100\uFF41") != Wide::npos)
            continue;
        const String narrow(Narrow(row.text.begin(), row.text.end()));
        EXPECT_EQ(narrow.IsASCII(), row.ascii);
        EXPECT_EQ(narrow.IsLatin1(), row.latin1);
    }
}

TEST(Editing, TrimsAndFoldsInBothWidths) {
    const ScopedLocale locale("C.utf8");
    using Row = std::array<const char*, 3>;
    ForBothWidths([]<class Text>(Text) {
        for (const auto& [whole, left, right] :
             {Row{"", "", ""}, Row{" \t\n\v\f\r", "", ""}, Row{" a b ", "a b ", " a b"},
              Row{"x", "x", "x"}}) {
            Text trimmedLeft(whole), trimmedRight(whole);
            trimmedLeft.LTrim();
            trimmedRight.RTrim();
            EXPECT_EQ(trimmedLeft, Text(left));
            EXPECT_EQ(trimmedRight, Text(right));
        }
    });
    String s("aB\0cD\xE9"s);
    WString w(u"\u2003a\u00E9\0\u03C9\xD83D\u3000"s);
    w.LTrim(), w.RTrim();
    s.ToUpper(), w.ToUpper();
    EXPECT_EQ(s, "AB\0CD\xE9"s);
    EXPECT_EQ(w, u"A\u00C9\0\u03A9\xD83D"s);
    s.ToLower(), w.ToLower();
    EXPECT_EQ(s, "ab\0cd\xE9"s);
    EXPECT_EQ(w, u"a\u00E9\0\u03C9\xD83D"s);

    const ScopedLocale latin1(GermanLatin1());
    s = "\xE4";
    s.ToUpper();
    EXPECT_EQ(s, "\xC4");
}

TEST(Formatting, HasALimitAndKeepsTheTextBeyondIt) {
    ForBothWidths([]<class Text>(Text text) {
        EXPECT_TRUE(text.Format(Text("%d %5.2f %s %S").c_str(), -7, 7.125, Text("own").c_str(),
                                OtherOf<Text>("other").c_str()));
        EXPECT_EQ(text, Text("-7  7.12 own other"));
        EXPECT_TRUE(text.Format(Text("<%s>").c_str(), text.c_str()));
        EXPECT_EQ(text, Text("<-7  7.12 own other>"));
        EXPECT_TRUE(text.Format(Text("%1024c").c_str(), 'x'));
        EXPECT_FALSE(text.Format(Text("%1025c").c_str(), 'y'));
        EXPECT_EQ(text, Text(Narrow(1023, ' ') + "x"));
        EXPECT_TRUE(text.Format(Text("").c_str()));
        EXPECT_EQ(text, Text(""));
    });
    String kept("kept");
    EXPECT_FALSE(kept.Format("%S", u"\u0100")) << "can't cross in the \"C\" locale";
    EXPECT_EQ(kept, "kept");
}

TEST(Base, AssignmentsStayAndThereAreNoResourceTexts) {
    ForBothWidths([]<class Text>(Text text) {
        text = typename Text::value_type('c');
        text = std::basic_string<typename Text::value_type>(Text("base"));
        EXPECT_EQ(text, Text("base"));
        text = Text("t").c_str();
        text += Text("u").c_str();
        EXPECT_EQ(text, Text("tu"));
        text = std::basic_string<typename OtherOf<Text>::value_type>(OtherOf<Text>("other"));
        EXPECT_EQ(text, Text("other"));
        EXPECT_FALSE(text.LoadStringA(0xFFFFFFFF));
        EXPECT_TRUE(text.empty());
    });
}

}  // namespace
