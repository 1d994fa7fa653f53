#include "utilities/text/qelstring.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/support/scoped_locale.h"

namespace {

using Narrow = std::basic_string<char>;
using Wide = std::basic_string<WideChar>;
using namespace std::string_literals;

TEST(Crossing, EveryConstructorAndOperationConverts) {
    const ScopedLocale locale("C.utf8");
    EXPECT_EQ(String(u"gr\u00FC\u00DF"s), "gr\xC3\xBC\xC3\x9F");
    EXPECT_EQ(WString("gr\xC3\xBC\xC3\x9F"), u"gr\u00FC\u00DF");
    EXPECT_EQ(WString("\xF0\x9F\x98\x80"s), u"\xD83D\xDE00");
    EXPECT_THROW(String(static_cast<const char*>(nullptr)), std::logic_error);

    String s("ab");
    s.Assign(u"x€"s);
    EXPECT_EQ(s, "x\xE2\x82\xAC");
    s = "abc";
    s.Append(u"de"s);
    EXPECT_EQ(s, "abcde");
    s.Insert(1, u"-€-"s);
    EXPECT_EQ(s, "a-\xE2\x82\xAC-bcde");
    s.Replace(1, 5, u"+"s);
    EXPECT_EQ(s, "a+bcde");
    EXPECT_THROW(s.Insert(7, u""s), std::out_of_range);
    EXPECT_THROW(s.Replace(7, 0, u""s), std::out_of_range);
    EXPECT_EQ(s, "a+bcde");
    EXPECT_LT(s.Compare(u"a+bd"s), 0);
    EXPECT_EQ(s.Compare(u"a+bcde"s), 0);

    WString w(u"ab");
    w.Assign("x\xE2\x82\xAC"s);
    w.Append("c"s);
    w.Insert(0, "<"s);
    w.Replace(1, 1, "yz"s);
    EXPECT_EQ(w, u"<yz€c");
    EXPECT_THROW(w.Insert(9, ""s), std::out_of_range);
    EXPECT_GT(w.Compare("<yz"s), 0);

    Wide wideOut = u"old";
    Narrow narrowOut = "old";
    String("\xE2\x82\xAC").ToWideString(wideOut);
    WString(u"€").ToNarrowString(narrowOut);
    EXPECT_EQ(wideOut, u"€");
    EXPECT_EQ(narrowOut, "\xE2\x82\xAC");
}

template <class Text, class Other>
void CheckSearches(const Text& text, const Other& ab, const Other& none) {
    EXPECT_EQ(text.Find(ab), 1);
    EXPECT_EQ(text.Find(ab, 2), 4);
    EXPECT_EQ(text.Find(none), -1);
    EXPECT_EQ(text.Rfind(ab), 4);
    EXPECT_EQ(text.Rfind(ab, 3), 1);
    EXPECT_EQ(text.Rfind(ab, 99), 4);
    EXPECT_EQ(text.Find_first_of(ab), 1);
    EXPECT_EQ(text.Find_first_of(ab, 3), 4);
    EXPECT_EQ(text.Find_last_of(ab), 5);
    EXPECT_EQ(text.Find_last_of(ab, 3), 2);
    EXPECT_EQ(text.Find_first_not_of(ab), 0);
    EXPECT_EQ(text.Find_first_not_of(ab, 1), 3);
    EXPECT_EQ(text.Find_last_not_of(ab), 6);
    EXPECT_EQ(text.Find_last_not_of(ab, 2), 0);
    EXPECT_EQ(text.Find_last_of(none), -1);
}

TEST(Crossing, SearchesGiveTheBasesPositions) {
    CheckSearches(String("xab-ab."), Wide(u"ab"), Wide(u"q"));
    CheckSearches(WString(u"xab-ab."), Narrow("ab"), Narrow("q"));
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
    EXPECT_EQ(String(Wide(2, u'€')).size(), 6u);
    EXPECT_EQ(String(Wide(3, u'€')).size(), 6u);
    EXPECT_EQ(String(Wide(10, u'€')).size(), 21u);
    EXPECT_EQ(String(Wide(1000, u'€')).size(), 2001u);
    EXPECT_EQ(WString(Narrow(5000, 'x')), Wide(5000, u'x'));
}

TEST(Subsets, AreJudgedByValueUpToTheFirstNul) {
    const struct {
        Wide text;
        bool ascii, latin1;
        const char *toAscii, *toLatin1;
    } rows[] = {{u"", true, true, "", ""},
                {u"\x01~\x7F", true, true, "\x01~\x7F", "\x01~\x7F"},
                {u"a\u0080", false, false, "a?", "a?"},
                {u"\u009Fz", false, false, "?z", "?z"},
                {u"\u00A0\u00A9\u00FF", false, true, "???", "\xA0\xA9\xFF"},
                {u"\u0100\uFF41", false, false, "??", "??"},
                {u"a\0\u0100"s, true, true, "a", "a"}};
    for (const auto& row : rows) {
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
    const struct {
        Wide text, left, right;
    } rows[] = {{u"", u"", u""},
                {u" \t\n\v\f\r", u"", u""},
                {u" a b ", u"a b ", u" a b"},
                {u"x", u"x", u"x"},
                {u"\u2003wide\u3000", u"wide\u3000", u"\u2003wide"}};
    for (const auto& row : rows) {
        WString left(row.text), right(row.text);
        left.LTrim();
        right.RTrim();
        EXPECT_EQ(left, row.left);
        EXPECT_EQ(right, row.right);
        if (!WString(row.text).IsASCII())
            continue;
        String narrowLeft(row.text), narrowRight(row.text);
        narrowLeft.LTrim();
        narrowRight.RTrim();
        EXPECT_EQ(narrowLeft, String(row.left));
        EXPECT_EQ(narrowRight, String(row.right));
    }
    String s("aB\0cD\xE9"s);
    s.ToUpper();
    EXPECT_EQ(s, "AB\0CD\xE9"s);
    s.ToLower();
    EXPECT_EQ(s, "ab\0cd\xE9"s);
    WString w(u"a\u00E9\0\u03C9\xD83D"s);
    w.ToUpper();
    EXPECT_EQ(w, u"A\u00C9\0\u03A9\xD83D"s);
    w.ToLower();
    EXPECT_EQ(w, u"a\u00E9\0\u03C9\xD83D"s);

    const ScopedLocale latin1(GermanLatin1());
    String umlaut("\xE4");
    umlaut.ToUpper();
    EXPECT_EQ(umlaut, "\xC4");
}

TEST(Formatting, HasALimitAndKeepsTheTextBeyondIt) {
    String s;
    EXPECT_TRUE(s.Format("%d %s %5.2f %S", 7, "seven", 7.125, u"wide"));
    EXPECT_EQ(s, "7 seven  7.12 wide");
    EXPECT_TRUE(s.Format("<%s>", s.c_str()));
    EXPECT_EQ(s, "<7 seven  7.12 wide>");
    WString w;
    EXPECT_TRUE(w.Format(u"%d %s %hs", -7, u"€", "narrow"));
    EXPECT_EQ(w, u"-7 € narrow");
    for (const int size : {1023, 1024}) {
        EXPECT_TRUE(s.Format("%*s", size, "x"));
        EXPECT_EQ(s, Narrow(static_cast<unsigned>(size) - 1, ' ') + "x");
        EXPECT_TRUE(w.Format(u"%*s", size, u"x"));
        EXPECT_EQ(w.size(), static_cast<unsigned>(size));
    }
    EXPECT_FALSE(s.Format("%1025s", "y"));
    EXPECT_EQ(s.size(), 1024u);
    EXPECT_EQ(s.back(), 'x');
    EXPECT_FALSE(w.Format(u"%1025s", u"y"));
    EXPECT_EQ(w.back(), u'x');
    EXPECT_FALSE(s.Format("%S", u"\u0100")) << "can't cross in the \"C\" locale";
    EXPECT_EQ(s.size(), 1024u);
    EXPECT_TRUE(s.Format("%s", ""));
    EXPECT_EQ(s, "");
}

TEST(Base, AssignmentsStayAndThereAreNoResourceTexts) {
    String s;
    s = 'c';
    s = std::string("text");
    s = "t";
    s += "u";
    EXPECT_EQ(s, "tu");
    s = u"wide"s;
    EXPECT_EQ(s, "wide");
    WString w;
    w = u'c';
    w = u"t";
    w = "narrow"s;
    EXPECT_EQ(w, u"narrow");
    EXPECT_FALSE(s.LoadStringA(1));
    EXPECT_FALSE(w.LoadStringA(0xFFFFFFFF));
    EXPECT_TRUE(s.empty() && w.empty());
}

}  // namespace
