// Matching a text against a pattern, beside the C library's file name patterns and GLib's patterns,
// the latter given as text and prepared beforehand.
#include <fnmatch.h>
#ifdef UTILITIES_HAS_GLIB
#include <glib.h>
#endif

#include <string>

#include "benchmarks/measure.h"
#include "utilities/text/qelstring.h"

namespace {

struct Case {
    String text;
    String pattern;
};

void MeasureUtilities(const std::string& row, const Case& match) {
    Measure(row + "/Utilities", match,
            [](const Case& input) { return input.text.WildcardMatch(input.pattern); });
}

void MeasureHost(const std::string& row, const Case& match) {
    Measure(row + "/fnmatch", match, [](const Case& input) {
        return ::fnmatch(input.pattern.c_str(), input.text.c_str(), 0) == 0;
    });
}

void MeasureGlib([[maybe_unused]] const std::string& row, [[maybe_unused]] const Case& match) {
#ifdef UTILITIES_HAS_GLIB
    Measure(row + "/GLib", match, [](const Case& input) {
        return g_pattern_match_simple(input.pattern.c_str(), input.text.c_str());
    });
    // Lives as long as the program.
    GPatternSpec* const prepared = g_pattern_spec_new(match.pattern.c_str());
    Measure(row + "/GLib prepared", match, [prepared](const Case& input) {
        return g_pattern_spec_match_string(prepared, input.text.c_str());
    });
#endif
}

void MeasureAll(const std::string& row, const Case& match) {
    MeasureUtilities(row, match);
    MeasureHost(row, match);
    MeasureGlib(row, match);
}

/// `length` characters that begin with `start`, end in `end` and have `middle` half-way.
String Stretch(const char* start, const char* middle, const char* end, std::size_t length) {
    std::string text(length, 'x');
    text.replace(0, std::string(start).size(), start);
    text.replace(length / 2, std::string(middle).size(), middle);
    return String(text.replace(length - std::string(end).size(), text.npos, end));
}

const bool REGISTERED = [] {
    for (const std::size_t length : {20u, 2000u}) {
        const std::string characters = "/" + std::to_string(length);
        MeasureAll("Wildcard/*.txt, match" + characters,
                   {Stretch("", "", ".txt", length), "*.txt"});
        MeasureAll("Wildcard/*.txt, no match" + characters,
                   {Stretch("", "", ".tex", length), "*.txt"});
        MeasureAll("Wildcard/a*b*c*d, match" + characters,
                   {Stretch("a", "bxc", "d", length), "a*b*c*d"});
        MeasureAll("Wildcard/a*b*c*d, no match" + characters,
                   {Stretch("a", "bxb", "d", length), "a*b*c*d"});
    }
    const Case WORST{std::string(3000, 'a'), "*a*a*a*a*a*a*a*b"};
    MeasureUtilities("Wildcard/*a*a*a*a*a*a*a*b, no match/3000", WORST);
    MeasureGlib("Wildcard/*a*a*a*a*a*a*a*b, no match/3000", WORST);
    return true;
}();

}  // namespace
