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
    EXPECT_THROW(String(static_cast<const char*>(nullptr)), std::logic_error);
    EXPECT_EQ(String(u"x€"s), "x\xE2\x82\xAC");
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
        EXPECT_EQ(text, Text("c"));
        text = std::basic_string<typename Other::value_type>(Other("other"));
        EXPECT_EQ(text, Text("other"));
        EXPECT_TRUE(text.Format(Text("<%s>").c_str(), text.c_str()));
        EXPECT_EQ(text, Text("<other>"));
        EXPECT_FALSE(text.LoadStringA(0xFFFFFFFF));
        EXPECT_TRUE(text.empty());
    });
}

/// By assignment and by formats, of which one crosses character by character. Text that can't cross
/// is expected to give nothing.
template <class To, class From>
void ExpectCrosses(const From& text, const To& expected) {
    To result("old");
    const To formatted = expected.empty() ? result : expected;
    for (const char* format : {"%S", "%.999S"}) {
        EXPECT_EQ(result.Format(To(format).c_str(), text.c_str()), !expected.empty()) << format;
        EXPECT_EQ(result, formatted);
    }
    result.Assign(text);
    EXPECT_EQ(result, expected) << testing::PrintToString(text);
}

TEST(Crossing, IsWholeOrFailsAndEndsAtTheFirstNul) {
    const struct {
        const char* locale;
        Narrow narrow;
        Wide wide;
        std::vector<Narrow> badNarrow;
        std::vector<Wide> badWide;
    } rows[] = {{"C", "\x7F", u"\x7F", {"\x80", "\xC3\xA9"}, {u"\x80", u"é"}},
                {"C.utf8",
                 "\xC2\x80\xDF\xBF\xE0\xA0\x80",
                 u"\x80\u07FF\u0800",
                 {"\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF", "\xC3(", "\xC3",
                  "\xE2\x82", "\xF0\x90\x80"},
                 {u"\xD800", u"\xDFFF", u"\xDC00z"}},
                {"C.utf8",
                 "\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
                 u"\uD7FF\uE000\xFFFF\U00010000\U0010FFFF",
                 {"\xED\xA0\x80", "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80"},
                 {u"\xDBFFz", u"\xDBFF\xDBFF\xDFFF"}},
                {GermanLatin1(), "\xC4\xFF", u"\u00C4\u00FF", {}, {u"€"}},
                {HongKongBig5(),
                 "\xA4\xA4\x9C\x71",
                 u"\u4E2D\U00020021",
                 {"\xFF", "\xA4"},
                 {u"\xFFFF", u"\xD83D"}}};
    for (const auto& row : rows) {
        const ScopedLocale locale(row.locale);
        ASSERT_TRUE(locale) << row.locale;
        const String narrow(Narrow(20, 'a') + row.narrow + Narrow(20, 'b'));
        const WString wide(Wide(20, u'a') + row.wide + Wide(20, u'b'));
        ExpectCrosses(narrow, wide);
        ExpectCrosses(wide, narrow);
        for (const Narrow& bad : row.badNarrow) {
            ExpectCrosses(String(bad + '\n' + narrow), WString());
            ExpectCrosses(String(narrow + bad), WString());
            ExpectCrosses(String(narrow + '\0' + bad), wide);
        }
        for (const Wide& bad : row.badWide) {
            ExpectCrosses(WString(bad + wide), String());
            ExpectCrosses(WString(wide + bad), String());
            ExpectCrosses(WString(wide + u'\0' + bad), narrow);
        }
    }
}

TEST(Crossing, EndsBehindTheLastWholeCharacterThatHasRoom) {
    const ScopedLocale locale("C.utf8");
    EXPECT_EQ(WString(Narrow(5000, 'x')), Wide(5000, u'x'));
    // 2 n + 2 bytes are the room of n units.
    for (const auto& [units, bytes] : {std::pair(2u, 6u), {3, 6}, {10, 21}, {1000, 2001}})
        EXPECT_EQ(String(Wide(units, u'€')).size(), bytes);
    for (const Wide& cut : {u"é"s, u"😀"s})
        EXPECT_EQ(String(u"€€€" + cut), "€€€");
    EXPECT_EQ(String(u"€€€€\xD800"s), "€€€€") << "what has no room isn't looked at";
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
                {u"\u0141\u0180", false, false, "??", "??"},
                {u"a\0\u0080"s, true, true, "a", "a"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.toLatin1);
        const WString wide(row.text);
        const String narrow(Narrow(row.text.begin(), row.text.end()));
        Narrow ascii = "old", latin1 = "old";
        EXPECT_TRUE(wide.ToASCIIString(ascii) && wide.ToLatin1String(latin1));
        EXPECT_EQ(std::pair(ascii, latin1), std::pair(row.toAscii, row.toLatin1));
        EXPECT_EQ(std::pair(wide.IsASCII(), wide.IsLatin1()), std::pair(row.ascii, row.latin1));
        EXPECT_EQ(std::pair(narrow.IsASCII(), narrow.IsLatin1()), std::pair(row.ascii, row.latin1));
    }
}

TEST(Editing, TrimsAndFoldsByTheLocale) {
    ForBothWidths([]<class Text>(Text text) {
        for (const Narrow middle : {"", "x", "a b"}) {
            const Narrow blanks = " \t\n\v\f\r";
            text = Text(blanks + middle + blanks);
            text.LTrim();
            EXPECT_EQ(text, Text(middle.empty() ? "" : middle + blanks));
            text.RTrim();
            EXPECT_EQ(text, Text(middle));
        }
    });
    const ScopedLocale locale(GermanLatin1());
    String s("aB\0cD\xE4"s);
    WString w(u"\u2003a\u00E9\0\u03C9\xD83D\u3000"s);
    w.LTrim(), w.RTrim();
    s.ToUpper(), w.ToUpper();
    EXPECT_EQ(s, "AB\0CD\xC4"s);
    EXPECT_EQ(w, u"A\u00C9\0\u03A9\xD83D"s);
    s.ToLower(), w.ToLower();
    EXPECT_EQ(s, "ab\0cd\xE4"s);
    EXPECT_EQ(w, u"a\u00E9\0\u03C9\xD83D"s);
}

}  // namespace
