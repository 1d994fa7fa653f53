#include "utilities/text/qelstring.h"

#include <algorithm>
#include <string_view>

namespace {

template <class Char>
using View = std::basic_string_view<Char>;

constexpr char ANY_RUN = '*';
constexpr char ANY_ONE = '?';

/// Whether `segment`, a stretch of the pattern without `*`, matches the start of `text`.
template <class Char>
bool MatchesAtStart(View<Char> text, View<Char> segment) {
    return segment.size() <= text.size() &&
           std::equal(segment.begin(), segment.end(), text.begin(),
                      [](Char wanted, Char c) { return wanted == Char(ANY_ONE) || wanted == c; });
}

/// The first position at which `segment`, which is not empty, matches within `text`, or `npos`.
template <class Char>
std::size_t FindSegment(View<Char> text, View<Char> segment) {
    for (std::size_t pos = 0; segment.size() + pos <= text.size(); ++pos) {
        if (segment.front() != Char(ANY_ONE)) {
            pos = text.find(segment.front(), pos);
            if (pos == View<Char>::npos)
                break;
        }
        if (MatchesAtStart(text.substr(pos), segment))
            return pos;
    }
    return View<Char>::npos;
}

/// The stretch of the pattern up to the next `*` or its end. Patterns are short: a call to the C
/// library's search would take longer than this loop.
template <class Char>
View<Char> FirstSegment(const Char* pattern) {
    const Char* end = pattern;
    while (*end != Char() && *end != Char(ANY_RUN))
        ++end;
    return {pattern, static_cast<std::size_t>(end - pattern)};
}

/// Where `*` stands before a segment, the first place at which that segment matches is as good as
/// any later one: it leaves the most text for the rest. So no place is tried twice, and the work is
/// bounded by the product of the lengths.
template <class Char>
bool Matches(View<Char> text, const Char* pattern) {
    View<Char> segment = FirstSegment(pattern);
    if (!MatchesAtStart(text, segment))
        return false;
    pattern += segment.size();
    if (*pattern == Char())
        return text.size() == segment.size();
    text.remove_prefix(segment.size());

    for (;;) {
        segment = FirstSegment(++pattern);
        pattern += segment.size();
        if (*pattern == Char())
            break;
        if (segment.empty())
            continue;
        const std::size_t pos = FindSegment(text, segment);
        if (pos == View<Char>::npos)
            return false;
        text.remove_prefix(pos + segment.size());
    }
    return segment.size() <= text.size() &&
           MatchesAtStart(text.substr(text.size() - segment.size()), segment);
}

}  // namespace

// Both texts end at their first NUL.

bool String::WildcardMatch(const std::basic_string<char>& pattern) const {
    return Matches(View<char>(c_str()), pattern.c_str());
}

bool WString::WildcardMatch(const std::basic_string<WideChar>& pattern) const {
    return Matches(View<WideChar>(c_str()), pattern.c_str());
}
