// Wildcards in both widths: a text matches if its reverse matches the reversed pattern.
#include "fuzz/input.h"

namespace {

/// Few characters, so that texts match.
String Take(FuzzedDataProvider& input) {
    String text(TakeText<char>(input, 200));
    for (char& c : text)
        c = "aab*?/\\A"[c & 7];
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    String pattern = Take(input), text = Take(input);
    const bool matches = text.WildcardMatch(pattern);
    REQUIRE(WString(text).WildcardMatch(WString(pattern)) == matches);
    std::reverse(pattern.begin(), pattern.end());
    std::reverse(text.begin(), text.end());
    REQUIRE(text.WildcardMatch(pattern) == matches);
    return 0;
}
