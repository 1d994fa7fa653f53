#include "utilities/text/qelstring.h"

#include <gtest/gtest.h>

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
    EXPECT_EQ(WString("\xF0\x9F\x98\x80"s), u"\xD83D\xDE00");
    EXPECT_THROW(String(static_cast<const char*>(nullptr)), std::logic_error);
    WString wide(u"old");
    String("x€").ToWideString(wide);
    EXPECT_EQ(wide, u"x€");
    String narrow("old");
    wide.ToNarrowString(narrow);
    EXPECT_EQ(narrow, "x€");
    ForBothWidths([]<class Text>(Text text) {
        using Other = OtherOf<Text>;
        text.Assign(Other("x€"));
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

        text = Text("xab-ab.");
        const Other ab("ab"), none("q");
        const std::vector<int> found = {
            text.Find(ab), text.Find(ab, 2), text.Find(none), text.Rfind(ab), text.Rfind(ab, 3),
            // Any and none of the characters.
            text.Find_first_of(ab), text.Find_first_of(ab, 3), text.Find_last_of(ab),
            text.Find_last_of(ab, 3), text.Find_last_of(none), text.Find_first_not_of(ab),
            text.Find_first_not_of(ab, 1), text.Find_last_not_of(ab), text.Find_last_not_of(ab, 2)};
        EXPECT_EQ(found, (std::vector<int>{1, 4, -1, 4, 1, 1, 4, 5, 2, -1, 0, 3, 6, 0}));

        text = typename Text::value_type('c');
        text += Text("u").c_str();
        EXPECT_EQ(text, Text("cu"));
        text = std::basic_string<typename Other::value_type>(Other("other"));
        EXPECT_EQ(text, Text("other"));
        EXPECT_FALSE(text.LoadStringA(0xFFFFFFFF));
        EXPECT_TRUE(text.empty());
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
    const struct {
        Wide text;
        bool ascii, latin1;
        Narrow toAscii, toLatin1;
    } rows[] = {{u"", true, true, "", ""},
                {u"\x01~\x7F", true, true, "\x01~\x7F", "\x01~\x7F"},
                {u"a\u0080", false, false, "a?", "a?"},
                {u"\u009Fz", false, false, "?z", "?z"},
                {u"\u00A0\u00FF", false, true, "??", "\xA0\xFF"},
                {u"\u0100\uFF41", false, false, "??", "??"},
                {u"a\0\u0100"s, true, true, "a", "a"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.text));
        const WString wide(row.text);
        Narrow ascii = "old", latin1 = "old";
        EXPECT_TRUE(wide.ToASCIIString(ascii) && wide.ToLatin1String(latin1));
        EXPECT_EQ(std::pair(ascii, latin1), std::pair(row.toAscii, row.toLatin1));
        EXPECT_EQ(std::pair(wide.IsASCII(), wide.IsLatin1()), std::pair(row.ascii, row.latin1));
        if (row.text.find(u'\u0100') != Wide::npos)
            continue;
        const String narrow(Narrow(row.text.begin(), row.text.end()));
        EXPECT_EQ(std::pair(narrow.IsASCII(), narrow.IsLatin1()), std::pair(row.ascii, row.latin1));
    }
}

TEST(Editing, TrimsAndFoldsInBothWidths) {
    const ScopedLocale locale("C.utf8");
    ForBothWidths([]<class Text>(Text text) {
        for (const char* blanks : {"", " ", " \t\n\v\f\r"}) {
            for (const Narrow middle : {"", "x", "a b"}) {
                text = Text(blanks + middle + blanks);
                text.LTrim();
                EXPECT_EQ(text, Text(middle.empty() ? "" : middle + blanks));
                text.RTrim();
                EXPECT_EQ(text, Text(middle));
            }
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
        EXPECT_TRUE(text.Format(Text("%d %S").c_str(), -7, OtherOf<Text>("other").c_str()));
        EXPECT_TRUE(text.Format(Text("<%s>").c_str(), text.c_str()));
        EXPECT_EQ(text, Text("<-7 other>"));
        EXPECT_TRUE(text.Format(Text("%1024c").c_str(), 'x'));
        EXPECT_FALSE(text.Format(Text("%1025c").c_str(), 'y'));
        EXPECT_EQ(text, Text(Narrow(1023, ' ') + "x"));
    });
}

}  // namespace
