#include <gtest/gtest.h>

#include <random>

#include "utilities/text/qelstring.h"

namespace {

using namespace std::string_literals;

bool Both(const std::string& text, const std::string& pattern) {
    const bool narrow = String(text).WildcardMatch(pattern);
    const std::u16string wide(pattern.begin(), pattern.end());
    EXPECT_EQ(WString(std::u16string(text.begin(), text.end())).WildcardMatch(wide), narrow)
        << text << " ~ " << pattern;
    return narrow;
}

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
        return text;
    };
    for (int i = 0; i < 60000; ++i) {
        const std::string text = pick("aab", 9), pattern = pick("ab*?", 7);
        ASSERT_EQ(Both(text, pattern), Oracle(text, pattern)) << text << " ~ " << pattern;
    }
}

TEST(Wildcard, ComparesPlainValues) {
    EXPECT_FALSE(Both("a", "A"));
    EXPECT_TRUE(Both("dir/sub\\file.txt", "dir*.txt"));
    EXPECT_FALSE(Both("[a]", "[ab]")) << "no classes";
    EXPECT_FALSE(Both("*", "\\*")) << "no escape";
    EXPECT_TRUE(String("\xE9").WildcardMatch("?"));
    EXPECT_FALSE(WString(u"\u0161").WildcardMatch(u"\u0061"s)) << "units that share a low byte";
    EXPECT_FALSE(WString(u"\u012A").WildcardMatch(u"*a"s));
    EXPECT_TRUE(Both("ab\0cd"s, "?b\0*"s)) << "both end at their NUL";
    // 16 runs over 100,000 characters would not end where a failed rest is tried at every place.
    const std::string pattern = "*a?a*a?a*a?a*a?a*a?a*a?a*a?a*a?a*a?a*a?a*a?a*a?a*a?a*a?a*a?a*a?a*";
    EXPECT_FALSE(Both(std::string(100000, 'a'), pattern + "b"));
    EXPECT_TRUE(Both(std::string(100000, 'a'), pattern));
}

}  // namespace
