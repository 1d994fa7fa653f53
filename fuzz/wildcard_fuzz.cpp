// Wildcards in both widths against a table of all prefixes.
#include "fuzz/input.h"

namespace {

/// Few characters, so that texts match; of the wide ones some have a wildcard's low byte.
constexpr char NARROW[] = "aab*?/\\\x80";
constexpr WideChar WIDE[] = u"aab*?\u0161\u012A\u013F";

template <class Char>
bool MatchesByTable(const std::basic_string<Char>& text, const std::basic_string<Char>& pattern) {
    std::vector<bool> matches(text.size() + 1);
    matches[0] = true;
    for (const Char wanted : pattern) {
        bool diagonal = matches[0];
        matches[0] = diagonal && wanted == Char('*');
        for (std::size_t i = 1; i <= text.size(); ++i) {
            const bool above = matches[i];
            if (wanted == Char('*'))
                matches[i] = above || matches[i - 1];
            else
                matches[i] = diagonal && (wanted == Char('?') || wanted == text[i - 1]);
            diagonal = above;
        }
    }
    return matches[text.size()];
}

template <class Char, std::size_t Count>
std::basic_string<Char> Take(FuzzedDataProvider& input, const Char (&alphabet)[Count]) {
    const bool reduced = input.ConsumeBool();
    auto text = TakeText<Char>(input, 200);
    for (Char& c : text) {
        if (reduced)
            c = alphabet[static_cast<std::make_unsigned_t<Char>>(c) % (Count - 1)];
    }
    return text;
}

template <class Text, class Char, std::size_t Count>
void Try(FuzzedDataProvider& input, const Char (&alphabet)[Count]) {
    const std::basic_string<Char> pattern = Take(input, alphabet), text = Take(input, alphabet);
    REQUIRE(Text(text).WildcardMatch(pattern) ==
            MatchesByTable(Terminated(text), Terminated(pattern)));
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
