#include <gtest/gtest.h>

#include <random>

#include "utilities/text/qelstring.h"

namespace {

using namespace std::string_literals;

/// What a match means, by definition and slowly.
bool Oracle(std::string_view text, std::string_view pattern) {
    if (pattern.empty())
        return text.empty();
    if (pattern[0] == '*' && Oracle(text, pattern.substr(1)))
        return true;
    if (text.empty() || (pattern[0] != '*' && pattern[0] != '?' && pattern[0] != text[0]))
        return false;
    return Oracle(text.substr(1), pattern.substr(pattern[0] == '*' ? 0 : 1));
}

TEST(Wildcard, AgreesWithTheDefinitionOnShortTexts) {
    std::mt19937 random(1);
    const auto pick = [&random](const std::string& set, std::size_t longest) {
        std::string text(random() % (longest + 1), ' ');
        for (char& c : text)
            c = set[random() % set.size()];
        return String(text);
    };
    for (int i = 0; i < 60000; ++i) {
        const String text = pick("aaab*\\", 9), pattern = pick("aabA*?\\", 7);
        const bool expected = Oracle(text, pattern);
        ASSERT_EQ(text.WildcardMatch(pattern), expected) << text << " ~ " << pattern;
        ASSERT_EQ(WString(text).WildcardMatch(WString(pattern)), expected) << pattern;
    }
}

TEST(Wildcard, ComparesWholeUnitsUpToTheNulInBoundedTime) {
    EXPECT_TRUE(String("a\xE9"s + "b\0cd"s).WildcardMatch("a?b\0*"s));
    for (const WideChar* pattern : {u"\u0161", u"\u012A", u"\u013F"})
        EXPECT_FALSE(WString(u"a").WildcardMatch(pattern)) << "has the low byte of a, * or ?";
    // 16 runs over 100,000 characters would not end where a failed rest is tried at every place.
    std::string pattern = "*";
    for (int run = 0; run < 16; ++run)
        pattern += "a?a*";
    EXPECT_TRUE(String(std::string(100000, 'a')).WildcardMatch(pattern));
    EXPECT_FALSE(String(std::string(100000, 'a')).WildcardMatch(pattern + "b"));
}

}  // namespace
