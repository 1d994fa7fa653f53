#include "utilities/platform/widetext.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/support/scoped_locale.h"

namespace {

/// What a conversion that fails gives here.
template <class To>
const std::basic_string<To> FAILED = {To('-'), To('1')};

template <class To, class From>
std::basic_string<To> Converted(const std::basic_string<From>& text, std::size_t capacity) {
    std::basic_string<To> out(capacity + 1, To('#'));
    std::size_t count = 0;
    if constexpr (sizeof(To) == 1)
        count = platform::wcstombs(out.data(), text.c_str(), text.size(), capacity);
    else
        count = platform::mbstowcs(out.data(), text.c_str(), text.size(), capacity);
    EXPECT_EQ(out[capacity], To('#')) << "written behind the capacity";
    return count == platform::CONVERSION_FAILED ? FAILED<To> : out.substr(0, count);
}

struct Row {
    const char* locale;
    std::string narrow;
    std::u16string wide;
};

TEST(WideText, EachLocaleConvertsWhatItHasWholeOrNotAtAll) {
    const Row rows[] = {
        {"C", "", u""},
        {"C", "plain\x7F", u"plain\x7F"},
        {"C.utf8", "\xC2\x80 \xDF\xBF \xE0\xA0\x80 \xEF\xBF\xBF", u"\u0080 \u07FF \u0800 \xFFFF"},
        {"C.utf8", "\xED\x9F\xBF \xEE\x80\x80", u"\uD7FF \uE000"},
        {"C.utf8", "\xF0\x90\x80\x80 \xF4\x8F\xBF\xBF", u"\U00010000 \U0010FFFF"},
        {"C.utf8", std::string(40, 'a') + "\xE2\x82\xAC" + std::string(40, 'b'),
         std::u16string(40, u'a') + u"€" + std::u16string(40, u'b')},
        {GermanLatin1(), "\xC4 \xFF", u"\u00C4 \u00FF"}};
    for (const auto& [name, narrow, wide] : rows) {
        SCOPED_TRACE(testing::PrintToString(narrow) + " in " + name);
        const ScopedLocale locale(name);
        ASSERT_TRUE(locale);
        for (std::size_t capacity = 0; capacity <= narrow.size() + 1; ++capacity) {
            std::size_t end = std::min(capacity, narrow.size());
            while (end < narrow.size() && (narrow[end] & 0xC0) == 0x80)
                --end;
            EXPECT_EQ(Converted<char>(wide, capacity), narrow.substr(0, end));
            const bool splitsPair = capacity < wide.size() && (wide[capacity] & 0xFC00) == 0xDC00;
            EXPECT_EQ(Converted<char16_t>(narrow, capacity),
                      wide.substr(0, capacity - (splitsPair ? 1 : 0)));
        }
        EXPECT_EQ(Converted<char16_t>("ab" + std::string(1, '\0') + "\xFF", 4), u"ab");
        EXPECT_EQ(Converted<char>(std::u16string(u"ab\0\xD800", 4), 10), "ab");
    }
}

TEST(WideText, WhatTheLocaleDoesNotHaveFails) {
    const Row rows[] = {
        {"C", "abc\x80", u"abc\u0080"},
        {"C.utf8", "abc\x80", u"abc\xD800"},                // continuation; high half alone
        {"C.utf8", "abc\xC1\xBF", u"\xDC00 low first"},     // overlong
        {"C.utf8", "\xE0\x9F\xBF", u"\xDBFF\xDBFF\xDFFF"},  // overlong; two high halves
        {"C.utf8", "\xED\xA0\x80", u"\xDFFF"},              // a surrogate in the encoding
        {"C.utf8", "\xF0\x8F\xBF\xBF", u"\xD800z"},         // overlong
        {"C.utf8", "\xF4\x90\x80\x80", u"\xD800"},          // 0x110000
        {"C.utf8", "\xF8\x88\x80\x80\x80", u"\xD800"},
        {"C.utf8", "cut \xE2\x82", u"\xD800"},
        {GermanLatin1(), "", u"€"},
        {GermanLatin1(), "", u"\xD83D\xDE00"}};
    for (const auto& [name, narrow, wide] : rows) {
        SCOPED_TRACE(testing::PrintToString(narrow) + " in " + name);
        const ScopedLocale locale(name);
        ASSERT_TRUE(locale);
        EXPECT_EQ(Converted<char16_t>(narrow, 100), narrow.empty() ? u"" : FAILED<char16_t>);
        EXPECT_EQ(Converted<char>(wide, 100), FAILED<char>);
    }
}

}  // namespace
