#include "utilities/text/qelstring.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/support/both_widths.h"
#include "tests/support/scoped_locale.h"

namespace {

using Narrow = std::basic_string<char>;
using Wide = std::basic_string<WideChar>;
using namespace std::string_literals;

TEST(Conversion, IsPartOfEveryOperation) {
    const ScopedLocale locale("C.utf8");
    EXPECT_THROW(String(static_cast<const char*>(nullptr)), std::logic_error);
    WString wide(u"old");
    String narrow("old");
    String(u"x€"s).ToWideString(wide);
    wide.ToNarrowString(narrow);
    EXPECT_EQ(std::pair(wide, narrow), std::pair(WString(u"x€"), String("x\xE2\x82\xAC")));
    ForBothWidths([]<class Text>(Text text) {
        using Other = OtherOf<Text>;
        text.Assign(Other("x€"));
        text.Append(Other("é"));
        text.Insert(1, Other("<€"));
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

        text = std::basic_string<typename Other::value_type>(Other("other"));
        EXPECT_TRUE(text.Format(Text("<%s>").c_str(), text.c_str()));
        EXPECT_EQ(text, Text("<other>"));
        EXPECT_FALSE(text.LoadStringA(0xFFFFFFFF));
        EXPECT_TRUE(text.empty());
        text = typename Text::value_type('c');
        EXPECT_EQ(text, Text("c"));
    });
}

/// By assignment and by formats, whole and up to a precision. A text that can't be converted is
/// expected to become empty.
template <class From, class To>
void ExpectConverts(const From& text, const To& expected) {
    To result("old");
    for (const char* format : {"%S", "%.999S"})
        EXPECT_EQ(result.Format(To(format).c_str(), text.c_str()) ? result : To(), expected);
    result.Assign(text);
    EXPECT_EQ(result, expected) << testing::PrintToString(text);
}

/// The text without and with characters that can't be converted.
template <class From, class To, class Char = typename From::value_type>
void ExpectConvertsWithout(const std::vector<std::basic_string<Char>>& bads, const From& text,
                           const To& expected) {
    ExpectConverts(text, expected);
    for (const auto& bad : bads) {
        ExpectConverts(From(bad + Char('\n') + text), To());
        ExpectConverts(From(text + bad), To());
        ExpectConverts(From(text + Char() + bad), expected);
    }
}

TEST(Conversion, IsWholeOrFailsAndEndsAtTheFirstNul) {
    const std::tuple<const char*, Narrow, std::vector<Narrow>, Wide, std::vector<Wide>> rows[] = {
        {"C", "\x7F", {"\x80", "\xC3\xA9"}, u"\x7F", {u"\x80", u"é"}},
        {"C.utf8",
         "\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF\xF0\x90\x80\x80"
         "\xF4\x8F\xBF\xBF",
         {"\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF", "\xC3(", "\xC3", "\xE2\x82",
          "\xF0\x90\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80"},
         u"\x80\u07FF\u0800\uD7FF\uE000\xFFFF\U00010000\U0010FFFF",
         {u"\xD800", u"\xDFFF", u"\xDC00z", u"\xDBFFz", u"\xDBFF\xDBFF\xDFFF"}},
        {GermanLatin1(), "\xC4\xFF", {}, u"\u00C4\u00FF", {u"€", u"\xD83D"}},
        {HongKongBig5(), "\xA4\xA4\x9C\x71", {"\xFF", "\xA4"}, u"中\U00020021", {u"\xFFFF"}}};
    for (const auto& [name, narrow, badNarrow, wide, badWide] : rows) {
        const ScopedLocale locale(name);
        ASSERT_TRUE(locale) << name;
        const String narrowText(Narrow(20, 'a') + narrow + Narrow(20, 'b'));
        const WString wideText(Wide(20, u'a') + wide + Wide(20, u'b'));
        ExpectConvertsWithout(badNarrow, narrowText, wideText);
        ExpectConvertsWithout(badWide, wideText, narrowText);
    }
}

TEST(Conversion, EndsAfterTheLastWholeCharacterThatFits) {
    const ScopedLocale locale("C.utf8");
    EXPECT_EQ(WString(Narrow(5000, 'x')), Wide(5000, u'x'));
    // n units become at most 2 n + 2 bytes.
    for (const auto& [units, bytes] : {std::pair(2u, 6u), {3, 6}, {10, 21}, {1000, 2001}})
        EXPECT_EQ(String(Wide(units, u'€')).size(), bytes);
    for (const Wide& cut : {u"é"s, u"😀"s})
        EXPECT_EQ(String(u"€€€" + cut), "€€€");
    EXPECT_EQ(String(u"€€€€\xD800"s), "€€€€") << "nothing is looked at beyond the end";
}

TEST(Conversion, MeetsEachPlaceOfABlock) {
    const ScopedLocale locale("C.utf8");
    for (std::size_t length = 0; length < 20; ++length) {
        const Narrow ended = Narrow(length, 'a') + '\0' + Narrow(20, 'b');
        EXPECT_EQ(WString(ended), Wide(length, u'a'));
        EXPECT_EQ(String(Wide(ended.begin(), ended.end())), Narrow(length, 'a'));
    }
    for (std::size_t length = 505; length < 620; ++length) {
        const Wide wide = Wide(length, u'a') + u"😀é";
        const Narrow narrow = Narrow(length, 'a') + "😀é";
        EXPECT_EQ(WString(narrow), wide);
        EXPECT_EQ(String(wide), narrow);
    }
}

TEST(Subsets, AreJudgedByValueUpToTheFirstNul) {
    const std::tuple<Wide, Narrow, Narrow> rows[] = {{u"", "", ""},
                                                     {u"a\0\u0080"s, "a", "a"},
                                                     {u"\u0141\u0180", "??", "??"},
                                                     {u"\x01~\x7F", "\x01~\x7F", "\x01~\x7F"},
                                                     {u"a\u0080\u009Fz", "a??z", "a??z"},
                                                     {u"\u00A0\u00FF", "??", "\xA0\xFF"}};
    for (const auto& [text, toAscii, toLatin1] : rows) {
        const WString wide(text);
        const String narrow(Narrow(text.begin(), text.end()));
        Narrow ascii = "old", latin1 = "old";
        EXPECT_TRUE(wide.ToASCIIString(ascii));
        EXPECT_TRUE(wide.ToLatin1String(latin1));
        EXPECT_EQ(std::pair(ascii, latin1), std::pair(toAscii, toLatin1));
        // A text is of the subset where nothing had to be replaced.
        const std::pair isSubset(toAscii.find('?') == Narrow::npos,
                                 toLatin1.find('?') == Narrow::npos);
        EXPECT_EQ(std::pair(wide.IsASCII(), wide.IsLatin1()), isSubset) << toLatin1;
        EXPECT_EQ(std::pair(narrow.IsASCII(), narrow.IsLatin1()), isSubset) << toLatin1;
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
    EXPECT_EQ(std::pair(s, w),
              std::pair(String("AB\0CD\xC4"s), WString(u"A\u00C9\0\u03A9\xD83D"s)));
    s.ToLower(), w.ToLower();
    EXPECT_EQ(std::pair(s, w),
              std::pair(String("ab\0cd\xE4"s), WString(u"a\u00E9\0\u03C9\xD83D"s)));
}

}  // namespace
