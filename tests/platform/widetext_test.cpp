#include "utilities/platform/widetext.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>

#include "tests/support/scoped_locale.h"

namespace {

constexpr std::size_t FAILED = platform::CONVERSION_FAILED;

std::size_t ToWide(std::u16string& out, const std::string& text, std::size_t capacity) {
    out.assign(capacity + 1, u'#');
    const std::size_t count = platform::mbstowcs(out.data(), text.c_str(), text.size(), capacity);
    EXPECT_EQ(out[capacity], u'#') << "written behind the capacity";
    out.resize(count == FAILED ? 0 : count);
    return count;
}

std::size_t ToNarrow(std::string& out, const std::u16string& text, std::size_t capacity) {
    out.assign(capacity + 1, '#');
    const std::size_t count = platform::wcstombs(out.data(), text.c_str(), text.size(), capacity);
    EXPECT_EQ(out[capacity], '#') << "written behind the capacity";
    out.resize(count == FAILED ? 0 : count);
    return count;
}

TEST(WideText, EachLocaleConvertsWhatItHas) {
    const char* const utf8 = "C.utf8";
    const struct {
        const char* locale;
        std::string narrow;
        std::u16string wide;
    } rows[] = {
        {"C", "", u""},
        {"C", "plain\x7F", u"plain\x7F"},
        {utf8, "\xC2\x80 \xDF\xBF \xE0\xA0\x80 \xEF\xBF\xBF", u"\u0080 \u07FF \u0800 \xFFFF"},
        {utf8, "\xED\x9F\xBF \xEE\x80\x80", u"\uD7FF \uE000"},
        {utf8, "\xF0\x90\x80\x80 \xF4\x8F\xBF\xBF", u"\U00010000 \U0010FFFF"},
        {utf8, std::string(40, 'a') + "\xE2\x82\xAC" + std::string(40, 'b'),
         std::u16string(40, u'a') + u"€" + std::u16string(40, u'b')},
        {GermanLatin1(), "\xC4 \xFF", u"\u00C4 \u00FF"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.narrow) + " in " + row.locale);
        const ScopedLocale locale(row.locale);
        ASSERT_TRUE(locale);
        std::u16string wide;
        std::string narrow;
        EXPECT_EQ(ToWide(wide, row.narrow, row.narrow.size()), row.wide.size());
        EXPECT_EQ(wide, row.wide);
        EXPECT_EQ(ToNarrow(narrow, row.wide, 2 * row.wide.size() + 2), row.narrow.size());
        EXPECT_EQ(narrow, row.narrow);
    }
}

TEST(WideText, WhatTheLocaleDoesNotHaveFailsWhole) {
    const struct {
        const char* locale;
        std::string narrow;
        std::u16string wide;
    } rows[] = {{"C", "abc\x80", u"abc\u0080"},
                {"C.utf8", "abc\x80", u"abc\xD800"},  // continuation; high half alone
                {"C.utf8", "abc\xC1\xBF", u"\xDC00 low half first"},  // overlong
                {"C.utf8", "\xE0\x9F\xBF", u"\xDBFF\xDBFF\xDFFF"},    // overlong; two high halves
                {"C.utf8", "\xED\xA0\x80", u"\xDFFF"},                // a surrogate in the encoding
                {"C.utf8", "\xF0\x8F\xBF\xBF", u"\xD800z"},           // overlong
                {"C.utf8", "\xF4\x90\x80\x80", u"\xD800"},            // 0x110000
                {"C.utf8", "\xF8\x88\x80\x80\x80", u"\xD800"},
                {"C.utf8", "cut \xE2\x82", u"\xD800"},
                {GermanLatin1(), "", u"€"},
                {GermanLatin1(), "", u"\xD83D\xDE00"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.narrow) + " in " + row.locale);
        const ScopedLocale locale(row.locale);
        ASSERT_TRUE(locale);
        std::u16string wide;
        std::string narrow;
        EXPECT_EQ(ToWide(wide, row.narrow, 100), row.narrow.empty() ? 0 : FAILED);
        EXPECT_EQ(ToNarrow(narrow, row.wide, 100), FAILED);
    }
}

/// Random texts, with what the system's own functions make of them by way of code points as the
/// measure, at every capacity.
TEST(WideText, AgreesWithTheSystemAtEveryCapacity) {
    const ScopedLocale locale("C.utf8");
    ASSERT_TRUE(locale);
    const wchar_t points[] = {L'a', 0x7F, 0x80, 0x7FF, 0x800, 0x20AC, 0xFFFD, 0x10000, 0x10FFFF};
    std::mt19937 random(1);
    for (int round = 0; round < 2000; ++round) {
        std::wstring text(random() % 40, L'x');
        for (wchar_t& point : text)
            point = random() % 3 == 0 ? points[random() % std::size(points)] : point;
        char narrow[200];
        const std::size_t size = std::wcstombs(narrow, text.c_str(), sizeof narrow);
        std::u16string units;
        for (const wchar_t point : text) {
            if (point > 0xFFFF)
                units += static_cast<char16_t>(0xD7C0 + (point >> 10));
            units += static_cast<char16_t>(point > 0xFFFF ? 0xDC00 | (point & 0x3FF) : point);
        }
        for (std::size_t capacity = 0; capacity <= size + 1; ++capacity) {
            char cut[200];
            std::string out;
            const std::size_t expected = std::wcstombs(cut, text.c_str(), capacity);
            ASSERT_EQ(ToNarrow(out, units, capacity), expected);
            ASSERT_EQ(out, std::string(cut, expected));
            std::u16string wide;
            const std::size_t count = ToWide(wide, std::string(narrow, size), capacity);
            ASSERT_EQ(wide, units.substr(0, count));
            const bool splitPair = capacity < units.size() && (units[capacity] & 0xFC00) == 0xDC00;
            ASSERT_EQ(count, std::min(capacity, units.size()) - (splitPair ? 1 : 0));
        }
    }
}

TEST(WideText, ConversionEndsAtTheFirstNul) {
    for (const char* name : {"C", "C.utf8", GermanLatin1()}) {
        const ScopedLocale locale(name);
        ASSERT_TRUE(locale) << name;
        std::u16string wide;
        std::string narrow;
        EXPECT_EQ(ToWide(wide, std::string("ab\0\xFF", 4), 4), 2u) << name;
        EXPECT_EQ(ToNarrow(narrow, std::u16string(u"ab\0\xD800", 4), 10), 2u) << name;
    }
}

}  // namespace
