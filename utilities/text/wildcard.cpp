#include <algorithm>
#include <string>

#include "utilities/text/qelstring.h"

namespace {

template <class Char>
using View = std::basic_string_view<Char>;

constexpr char ANY_RUN = '*';
constexpr char ANY_ONE = '?';

template <class Char>
bool Accepts(Char wanted, Char c) {
    return wanted == Char(ANY_ONE) || wanted == c;
}

/// Whether `segment`, a stretch of the pattern without `*`, matches the start of `text`.
template <class Char>
bool MatchesAtStart(View<Char> text, View<Char> segment) {
    return segment.size() <= text.size() &&
           std::equal(segment.begin(), segment.end(), text.begin(), Accepts<Char>);
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

/// Where `*` stands before a segment, the first place at which that segment matches is as good as
/// any later one: it leaves the most text for the rest. So no place is tried twice, and the work is
/// bounded by the product of the lengths.
template <class Char>
bool Matches(View<Char> text, View<Char> pattern) {
    std::size_t end = pattern.find(Char(ANY_RUN));
    if (end == View<Char>::npos)
        return text.size() == pattern.size() && MatchesAtStart(text, pattern);
    if (!MatchesAtStart(text, pattern.substr(0, end)))
        return false;
    text.remove_prefix(end);
    pattern.remove_prefix(end + 1);

    while ((end = pattern.find(Char(ANY_RUN))) != View<Char>::npos) {
        if (end > 0) {
            const std::size_t pos = FindSegment(text, pattern.substr(0, end));
            if (pos == View<Char>::npos)
                return false;
            text.remove_prefix(pos + end);
        }
        pattern.remove_prefix(end + 1);
    }
    return pattern.size() <= text.size() &&
           MatchesAtStart(text.substr(text.size() - pattern.size()), pattern);
}

/// Up to the first NUL, where both texts end.
template <class Char>
View<Char> Terminated(const std::basic_string<Char>& text) {
    return View<Char>(text).substr(0, text.find(Char()));
}

}  // namespace

bool String::WildcardMatch(const std::basic_string<char>& pattern) const {
    return Matches<char>(Terminated<char>(*this), Terminated(pattern));
}

bool WString::WildcardMatch(const std::basic_string<WideChar>& pattern) const {
    return Matches<WideChar>(Terminated<WideChar>(*this), Terminated(pattern));
}
