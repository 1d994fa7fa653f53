#include <gtest/gtest.h>

#include <random>

#include "utilities/text/qelstring.h"

namespace {

using namespace std::string_literals;

bool Both(const std::string& text, const std::string& pattern) {
    const bool narrow = String(text).WildcardMatch(pattern);
    const std::u16string wideText(text.begin(), text.end());
    const std::u16string widePattern(pattern.begin(), pattern.end());
    EXPECT_EQ(WString(wideText).WildcardMatch(widePattern), narrow) << text << " ~ " << pattern;
    return narrow;
}

/// What a match means, by definition and slowly.
bool Oracle(std::string_view text, std::string_view pattern) {
    if (pattern.empty())
        return text.empty();
    if (pattern[0] == '*')
        return Oracle(text, pattern.substr(1)) ||
               (!text.empty() && Oracle(text.substr(1), pattern));
    return !text.empty() && (pattern[0] == '?' || pattern[0] == text[0]) &&
           Oracle(text.substr(1), pattern.substr(1));
}

TEST(Wildcard, AgreesWithTheDefinitionOnAllShortTexts) {
    std::mt19937 random(1);
    const auto pick = [&random](const char* set, std::size_t kinds, std::size_t longest) {
        std::string text(random() % (longest + 1), ' ');
        for (char& c : text)
            c = set[random() % kinds];
        return text;
    };
    int matches = 0;
    for (int i = 0; i < 60000; ++i) {
        const std::string text = pick("aab", 3, 9), pattern = pick("ab*?", 4, 7);
        ASSERT_EQ(Both(text, pattern), Oracle(text, pattern)) << text << " ~ " << pattern;
        matches += Oracle(text, pattern);
    }
    EXPECT_GT(matches, 5000);
}

TEST(Wildcard, ComparesPlainValues) {
    EXPECT_FALSE(Both("a", "A"));
    EXPECT_TRUE(Both("dir/sub\\file.txt", "dir*.txt"));
    EXPECT_TRUE(Both("a*?", "a*?"));
    EXPECT_FALSE(Both("[a]", "[ab]")) << "no classes";
    EXPECT_FALSE(Both("*", "\\*")) << "no escape";
    EXPECT_TRUE(String("\xE9").WildcardMatch("?"));
    EXPECT_FALSE(WString(u"\u0161").WildcardMatch(u"\u0061"s)) << "units that share a low byte";
    EXPECT_FALSE(WString(u"\u012A").WildcardMatch(u"*a"s));
    EXPECT_TRUE(String("ab\0cd"s).WildcardMatch("?b\0*"s)) << "both end at their NUL";
    const std::string pattern = "a*b*c";
    EXPECT_FALSE(String("aXbXd").WildcardMatch(pattern));
    EXPECT_EQ(pattern, "a*b*c");
}

TEST(Wildcard, NeedsNoMoreThanTheProductOfTheLengths) {
    // 16 runs over 100,000 characters would not end where a failed rest is tried at every place.
    std::string pattern;
    for (int i = 0; i < 16; ++i)
        pattern += "*a?a";
    EXPECT_FALSE(Both(std::string(100000, 'a'), pattern + "*b"));
    EXPECT_TRUE(Both(std::string(100000, 'a'), pattern + "*"));
}

}  // namespace
