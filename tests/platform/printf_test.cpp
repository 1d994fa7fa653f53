#include "utilities/platform/printf.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "tests/support/scoped_locale.h"

namespace {

/// A call that fails gives "-1". What is written ends in a NUL where there is room, at the limit.
template <std::size_t LIMIT = 1024, class Char>
std::basic_string<Char> Text(const Char* format, ...) {
    std::basic_string<Char> out(LIMIT + 1, Char{'#'});
    int length = 0;
    std::va_list arguments;
    va_start(arguments, format);
    if constexpr (sizeof(Char) == 1)
        length = platform::_vsnprintf(out.data(), LIMIT, format, arguments);
    else
        length = platform::_vsnwprintf(out.data(), LIMIT, format, arguments);
    va_end(arguments);
    EXPECT_EQ(out[LIMIT], Char{'#'}) << "written behind the limit";
    if (length < 0)
        return {Char{'-'}, Char{'1'}};
    const auto size = static_cast<std::size_t>(length);
    EXPECT_TRUE(size == LIMIT || out[size] == Char{}) << "not terminated";
    return out.substr(0, size);
}

std::u16string Widened(const std::string& ascii) { return {ascii.begin(), ascii.end()}; }

template <std::size_t LIMIT = 1024, class Value>
void ExpectAsHost(const std::string& format, Value value) {
    std::vector<char> host(LIMIT + 1);
    const int length = std::snprintf(host.data(), host.size(), format.c_str(), value);
    const std::string expected = length > static_cast<int>(LIMIT) ? "-1" : host.data();
    ASSERT_EQ(Text<LIMIT>(format.c_str(), value), expected) << format << " of " << value;
    ASSERT_EQ(Text<LIMIT>(Widened(format).c_str(), value), Widened(expected))
        << "wide " << format << " of " << value;
}

void ExpectAllAsHost(const std::string& conversion) {
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
TEST(Printf, AgreesWithTheHost) {
    for (unsigned set = 0; set < 32; ++set) {
        std::string flags = "%";
        for (unsigned bit = 0; bit < 5; ++bit)
            flags.append((set >> bit) & 1, "-+ #0"[bit]);
        for (const char* counts : {"", ".", ".1", ".7", ".25", "9", "9.", "9.1", "9.7", "9.25",
                                   "30", "30.", "30.1", "30.7", "30.25"})
            ExpectAllAsHost(flags + counts);
    }
    for (const std::size_t length : {1023u, 1024u, 1025u}) {
        for (const char* format : {"%hs", "%.9999hs"})
            ExpectAsHost(format, std::string(length, 'x').c_str());
    }
    const ScopedLocale locale(GermanLatin1());
    for (const char* format : {"%.2f", "%8.2e", "%-8g|", "%#.0f", "%#g", "%a", "%09.1f"})
        ExpectAsHost(format, -1.625);
}

TEST(Printf, LongPrecisionsAreExact) {
    constexpr std::size_t ROOM = 25'000;
    for (const double value : {0.0, 1.5, -0.1, 5e-324, 1e308, DBL_MAX}) {
        for (const char* format : {"%.714f", "%.1022f", "%.1023f", "%.1074f", "%.1076f", "%.766e",
                                   "%.1017e", "%.1018e", "%.767g", "%#.1020g", "%#.2000g",
                                   "%#.1016a", "%1024.3f", "%01025.3f", "%-3000.2000f"}) {
            ExpectAsHost(format, value);
            ExpectAsHost<ROOM>(format, value);
        }
        for (const char* format : {"%.1021Lf", "%.1017Le", "%.16445Lf", "%.17000Lf", "%.17000Le"})
            ExpectAsHost<ROOM>(format, static_cast<long double>(value) / 3);
    }
    ExpectAsHost<ROOM>("%.17000Lf", -LDBL_MAX);
}

TEST(Printf, WhatTheHostLacksFailsCountsOrPrintsAsItStands) {
    for (const char* format :
         {"%2147483647d", "%99999999999999999999d", "%.2147483648x", "%-1025u"})
        EXPECT_EQ(Text(format, 1), "-1") << format;
    EXPECT_EQ(Text("%*d", INT_MIN, 1), "-1");
    EXPECT_EQ(Text("%.*f", INT_MAX, 0.5), "-1");
    EXPECT_EQ(Text("%#.99999999999g", 0.5), "-1");
    EXPECT_EQ(Text("%.99999999999g|%.99999999999s", 0.5, "text"), "0.5|text");
    EXPECT_EQ(Text("%*d|%-*d|%*d", -4, 1, 4, 2, 3, 5), "1   |2   |  5");
    EXPECT_EQ(Text("%.*d|%.*s|%.*f", -3, 1, INT_MIN, "text", -1, 2.0), "1|text|2.000000");

    for (const char* format : {"", "abc%", "%5", "% 5.3l", "%y", "%-05.2hhy|", "%I32d", "%I", "%'d",
                               "%1$d", "\x80%\x81"})
        EXPECT_EQ(Text(format, 7), format);
    EXPECT_EQ(Text(u"%\u0164 %\u4E64", 7), u"%\u0164 %\u4E64");
    EXPECT_EQ(Text("%*y%d|%I64d|%I64u", 3, 7, INT64_MIN, UINT64_MAX),
              "%*y7|-9223372036854775808|18446744073709551615");
    EXPECT_EQ(Text<0>(""), "");
    EXPECT_EQ(Text<0>("x"), "-1");
    const char* const null = nullptr;
    EXPECT_EQ(Text("%s|%8S|%.2s", null, null, null), "(null)|  (null)|(n");
    std::int64_t large = -1;
    short small[] = {-1, -1, -1};
    EXPECT_EQ(Text("ab%n%3d%hn%hhn%I64n|", small, 1, small, small + 2, &large), "ab  1|");
    EXPECT_EQ((std::vector<std::int64_t>{small[0], small[1], small[2], large}),
              (std::vector<std::int64_t>{5, 0, -256 + 5, 5}));
}

// The text has characters of 2, 3, 4 and 1 bytes, which are 1, 1, 2 and 1 units.
TEST(Printf, TextCrossesInWholeCharacters) {
    const ScopedLocale locale("C.utf8");
    const struct {
        const char* format;
        const char* narrow;
        const WideChar* wide;
    } rows[] = {
        {"[%12S]", "[  é€😀z]", u"[       é€😀z]"},
        {"[%-12.9S]", "[é€😀   ]", u"[é€😀z       ]"},
        {"[%3.0S]", "[   ]", u"[   ]"},
        {"%.1S", "", u"é"},
        {"%.3S", "é", u"é€"},
        {"%.4S", "é", u"é€😀"},
        {"%.5S", "é€", u"é€😀z"},
    };
    for (const auto& [format, narrow, wide] : rows) {
        EXPECT_EQ(Text(format, u"é€😀z"), narrow) << format;
        EXPECT_EQ(Text(Widened(format).c_str(), "é€😀z"), wide) << format;
    }
    EXPECT_EQ(Text("%s%hs%ls%hS%lS", "a", "b", u"é", "c", u"d"), "abécd");
    EXPECT_EQ(Text(u"%s%hs%ls%hS%lS", u"a", "é", u"b", "c", u"d"), u"aébcd");
    EXPECT_EQ(Text("%c%C%3.1C%hc|%-2lc", 'a', u'€', u'b', 'c', 0), std::string("a€  bc|\0 ", 11));
    EXPECT_EQ(Text(u"%c%C%-3hc%lc", u'€', 'a', 'b', u'c'), u"€ab  c");

    // At the end of their memory: a precision reads no further.
    const std::vector<char> bytes = {'a', '\xC3', '\xA9'};
    const std::vector<WideChar> units = {u'a', u'é', u'€'};
    EXPECT_EQ(Text("%.3s|%.6S", bytes.data(), units.data()), "aé|aé€");
    EXPECT_EQ(Text(u"%.2S|%.3s", bytes.data(), units.data()), u"aé|aé€");

    const std::u16string euros(341, u'€');
    EXPECT_EQ(Text("x%S", euros.c_str()).size(), 1024U);
    EXPECT_EQ(Text("xx%S", euros.c_str()), "-1");
    EXPECT_EQ(Text("xx%.1022S", euros.c_str()).size(), 1022U);
    EXPECT_EQ(Text(u"%S", (std::string(1020, 'x') + "😀😀").c_str()).substr(1020), u"😀😀");
    EXPECT_EQ(Text(u"%S", (std::string(1021, 'x') + "😀😀").c_str()), u"-1");
}

TEST(Printf, TextThatCannotCrossFails) {
    for (const char* locale : {"C.utf8", "C"}) {
        const ScopedLocale scope(locale);
        for (const char* bytes : {"\xFFz", "\xC3", "\xC3(", "\xED\xA0\x80", "\xF4\x90\x80\x80"}) {
            for (const WideChar* format : {u"%S", u"%.1S"})
                EXPECT_EQ(Text(format, bytes), u"-1") << bytes;
            EXPECT_EQ(Text(u"%C", *bytes), u"-1") << bytes;
        }
        for (const WideChar* units : {u"\xD83Dz", u"\xD83D", u"\xDE00"})
            EXPECT_EQ(Text("%S", units) + Text("%.9S", units) + Text("%C", *units), "-1-1-1");
    }
    EXPECT_EQ(Text(u"%.1S", "a\xFF"), u"a");
    EXPECT_EQ(Text("%S", u"é"), "-1");
}

}  // namespace
