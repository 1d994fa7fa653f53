// Wildcards in both widths: a match is one from behind too, and doubled stars change nothing.
#include "fuzz/input.h"

namespace {

/// Few characters, so that texts match; of the wide ones some have a wildcard's low byte.
constexpr char NARROW[] = "aab*?/\\\x80";
constexpr WideChar WIDE[] = u"aab*?\u0161\u012A\u013F";

template <class Char, std::size_t Count>
std::basic_string<Char> Take(FuzzedDataProvider& input, const Char (&alphabet)[Count]) {
    auto text = TakeText<Char>(input, 200);
    for (Char& c : text)
        c = alphabet[static_cast<std::make_unsigned_t<Char>>(c) % (Count - 1)];
    return text;
}

template <class Text, class Char, std::size_t Count>
void Try(FuzzedDataProvider& input, const Char (&alphabet)[Count]) {
    auto pattern = Take(input, alphabet), text = Take(input, alphabet);
    const bool matches = Text(text).WildcardMatch(pattern);
    std::basic_string<Char> doubled;
    for (const Char c : pattern)
        doubled.append(c == Char('*') ? 2 : 1, c);
    REQUIRE(Text(text).WildcardMatch(doubled) == matches);
    std::reverse(pattern.begin(), pattern.end());
    std::reverse(text.begin(), text.end());
    REQUIRE(Text(text).WildcardMatch(pattern) == matches);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    if (input.ConsumeBool())
        Try<String>(input, NARROW);
    else
        Try<WString>(input, WIDE);
    return 0;
}
