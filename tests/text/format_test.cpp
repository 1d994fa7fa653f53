#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "tests/support/scoped_locale.h"
#include "utilities/text/qelstring.h"

namespace {

/// "kept" where the call fails, and so leaves the text as it was.
template <class Char>
auto Formatted(const Char* format, auto... arguments) {
    using Text = std::conditional_t<sizeof(Char) == 1, String, WString>;
    Text text("kept");
    const bool fits = text.Format(format, arguments...);
    EXPECT_EQ(fits, text != Text("kept"));
    return text;
}

void ExpectAsHost(const String& format, auto value) {
    char host[1025];
    const int length = std::snprintf(host, sizeof host, format.c_str(), value);
    const String expected = length > 1024 ? "kept" : host;
    ASSERT_EQ(Formatted(format.c_str(), value), expected) << format << " of " << value;
    ASSERT_EQ(Formatted(WString(format).c_str(), value), WString(expected)) << format;
}

void ExpectAllAsHost(const String& conversion) {
    for (const char type : {'d', 'i', 'u', 'o', 'x', 'X'}) {
        for (const int value : {0, 1, -1, 8, 255, 65536, INT_MAX, INT_MIN}) {
            for (const char* size : {"", "h", "hh"})
                ExpectAsHost(conversion + size + type, value);
            for (const char* size : {"l", "ll", "j", "z", "t", "L"})
                ExpectAsHost(conversion + size + type, (value + 1LL) * 0xFFFFFFFFLL);
        }
    }
    for (const char type : {'e', 'E', 'f', 'F', 'g', 'G', 'a', 'A'}) {
        for (const double value :
             {0.0, -0.0, 0.1, 1.0, 0.5, 2.5, -1.375, 1e-5, 1e22, DBL_MAX, 5e-324, 99999.95,
              HUGE_VAL, -HUGE_VAL, double{NAN}, -double{NAN}}) {
            ExpectAsHost(conversion + type, value);
            ExpectAsHost(conversion + 'L' + type, value / 3.0L);
        }
    }
    for (const std::uintptr_t value : {0U, 0x12U, UINT_MAX})
        ExpectAsHost(conversion + 'p', reinterpret_cast<void*>(value));
    ExpectAsHost(conversion + 'c', 'x');
    ExpectAsHost(conversion + '%', 0);
    ExpectAsHost(conversion + "hs", "text");
}

/// By every set of flags, with widths and precisions below and above the texts' lengths.
TEST(Format, AgreesWithTheHost) {
    for (unsigned set = 0; set < 32; ++set) {
        String flags("%");
        for (unsigned bit = 0; bit < 5; ++bit)
            flags.append((set >> bit) & 1, "-+ #0"[bit]);
        for (const char* width : {"", "9", "30"}) {
            for (const char* precision : {"", ".", ".1", ".7", ".25"})
                ExpectAllAsHost(flags + width + precision);
        }
    }
    for (const double value : {0.0, 1.5, -0.1, 5e-324, 1e308, -DBL_MAX}) {
        for (const char* format : {"%.714f", "%.1022f", "%.766e", "%.1017e", "%.1018e", "%#.2000g",
                                   "%#.1016a", "%01024.3f", "%-1025.3f"})
            ExpectAsHost(format, value);
        for (const char* format : {"%.1021Lf", "%.1017Le", "%.16445Lf", "%.17000Le", "%.17000Lg"})
            ExpectAsHost(format, value * (LDBL_MAX / DBL_MAX / 3));
    }
    for (const std::size_t length : {1023u, 1024u, 1025u})
        ExpectAsHost("%hs", std::string(length, 'x').c_str());
    for (const char* name : {GermanLatin1(), PashtoUtf8()}) {
        const ScopedLocale locale(name);
        for (const char* format : {"%.2f", "%8.2e", "%-8g|", "%#.0f", "%#g", "%a", "%09.1f"})
            ExpectAsHost(format, -1.625);
        char host[40];
        std::snprintf(host, sizeof host, "%020a", -1.625);
        EXPECT_EQ(Formatted("%020a", -1.625), host) << name;
        std::setlocale(LC_CTYPE, "C");
        EXPECT_EQ(Formatted(u"%.1f", 1.5).size(), 3u) << "an encoding that has no such point";
    }
}

TEST(Format, ConvertsOrPrintsAsItStandsWhatTheHostLacks) {
    for (const char* format :
         {"%2147483647d", "%99999999999999999999d", "%.2147483648x", "%#.99999999999o"})
        EXPECT_EQ(Formatted(format, 1), "kept") << format;
    EXPECT_EQ(Formatted("%*d", INT_MIN, 1) + Formatted("%.*f", INT_MAX, 0.5), "keptkept");
    EXPECT_EQ(Formatted("%.99999999999g|%.99999999999s", 0.5, "text"), "0.5|text");
    EXPECT_EQ(Formatted("%*d|%-*d|%*d", -4, 1, 4, 2, 3, 5), "1   |2   |  5");
    EXPECT_EQ(Formatted("%.*d|%.*s|%.*f|%.*s", -3, 1, INT_MIN, "text", -1, 2.0, 0, "none"),
              "1|text|2.000000|");

    for (const char* format : {"", "abc%", "%5", "% 5.3l", "%y", "%-05.2hhy|", "%I32d", "%I", "%I6",
                               "%'d", "%1$d", "\x80%\x81"})
        EXPECT_EQ(Formatted(format, 7), format);
    EXPECT_EQ(Formatted(u"%\u0164 %\u4E64", 7), u"%\u0164 %\u4E64");
    EXPECT_EQ(Formatted("%*y%d|%I64d|%I64u", 3, 7, INT64_MIN, UINT64_MAX),
              "%*y7|-9223372036854775808|18446744073709551615");
    const char* const null = nullptr;
    EXPECT_EQ(Formatted("%s|%8S|%.2s", null, null, null), "(null)|  (null)|(n");
    std::int64_t large[5] = {};
    short small[] = {-1, -1, -1};
    EXPECT_EQ(Formatted("ab%n%3d%hn%hhn%I64n%ln%jn%zn%tn|", small, 1, small, small + 2, large,
                        large + 1, large + 2, large + 3, large + 4),
              "ab  1|");
    EXPECT_EQ(std::vector(large, large + 5), std::vector<std::int64_t>(5, 5));
    EXPECT_EQ(std::vector(small, small + 3), (std::vector<short>{5, 0, -256 + 5}));
}

// The text has characters of 2, 3, 4 and 1 bytes, which are 1, 1, 2 and 1 units.
TEST(Format, ConvertsTextInWholeCharacters) {
    const ScopedLocale locale("C.utf8");
    const std::tuple<const char*, const char*, const WideChar*> rows[] = {
        {"[%12S]", "[  é€😀z]", u"[       é€😀z]"},
        {"[%-12.9S]", "[é€😀   ]", u"[é€😀z       ]"},
        {"[%3.0S]", "[   ]", u"[   ]"},
        {"%.1S", "", u"é"},
        {"%.3S", "é", u"é€"},
        {"%.4S", "é", u"é€😀"},
        {"%.5S", "é€", u"é€😀z"}};
    for (const auto& [format, narrow, wide] : rows) {
        EXPECT_EQ(Formatted(format, u"é€😀z"), narrow) << format;
        EXPECT_EQ(Formatted(WString(format).c_str(), "é€😀z"), wide) << format;
    }
    EXPECT_EQ(Formatted(u"%.1S", "a\xFF"), u"a");
    std::string mixed;
    for (int i = 0; i < 30; ++i)
        mixed += "€";
    EXPECT_EQ(Formatted(u"%.40S", (mixed + std::string(20, 'x')).c_str()),
              std::u16string(30, u'€') + std::u16string(10, u'x'));
    EXPECT_EQ(Formatted(u"%C", 0xC3) + Formatted(u"%C", 0xFF), u"keptkept");
    EXPECT_EQ(Formatted("%C", 0xD83D) + Formatted("%C", 0xDE00), "keptkept");
    EXPECT_EQ(Formatted("%s%hs%ls%hS%lS", "a", "b", u"é", "c", u"d"), "abécd");
    EXPECT_EQ(Formatted(u"%s%hs%ls%hS%lS", u"a", "é", u"b", "c", u"d"), u"aébcd");
    EXPECT_EQ(Formatted("%c%C%3.1C%hc|%-2lc", 'a', u'€', u'b', 'c', 0),
              std::string("a€  bc|\0 ", 11));
    EXPECT_EQ(Formatted(u"%c%C%-3hc%lc", u'€', 'a', 'b', u'c'), u"€ab  c");

    // At the end of their memory: a precision reads no further.
    const std::vector<char> bytes = {'a', '\xC3', '\xA9'};
    const std::vector<WideChar> units = {u'a', u'é', u'€'};
    EXPECT_EQ(Formatted("%.3s|%.6S", bytes.data(), units.data()), "aé|aé€");
    EXPECT_EQ(Formatted(u"%.2S|%.3s", bytes.data(), units.data()), u"aé|aé€");

    const std::u16string euros(341, u'€');
    EXPECT_EQ(Formatted("x%S", euros.c_str()).size(), 1024u);
    EXPECT_EQ(Formatted("xx%S", euros.c_str()), "kept");
    EXPECT_EQ(Formatted("xx%.1022S", euros.c_str()).size(), 1022u);
    EXPECT_EQ(Formatted(u"%S", (std::string(1020, 'x') + "😀😀").c_str()).substr(1020), u"😀😀");
    EXPECT_EQ(Formatted(u"%S", (std::string(1021, 'x') + "😀😀").c_str()), u"kept");
}

}  // namespace
