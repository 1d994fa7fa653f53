/// What the formatter writes to.
#ifndef UTILITIES_PLATFORM_PRINT_OUTPUT_INTERNAL_H
#define UTILITIES_PLATFORM_PRINT_OUTPUT_INTERNAL_H

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "utilities/platform/print_internal.h"

namespace platform {

/// The buffer, filled from its start. Once something didn't fit, nothing is written any more.
template <class Char>
class Output {
public:
    Output(Char* buffer, std::size_t limit)
        : begin(buffer), capacity(std::min(limit, TOO_LONG - 1)) {}

    std::size_t Count() const { return used; }
    std::size_t Room() const { return capacity - used; }
    Char* End() { return begin + used; }
    bool Failed() const { return failed; }
    void Fail() { failed = true; }

    /// Takes in what was written at the end.
    void Advance(std::size_t count) { used += count; }

    void Fill(char character, std::size_t count) {
        if (!Fits(count))
            return;
        std::fill_n(End(), count, static_cast<Char>(character));
        Advance(count);
    }

    /// Text of the buffer's own width, or ASCII.
    template <class Source>
    void Write(std::basic_string_view<Source> text) {
        if (!Fits(text.size()))
            return;
        std::copy(text.begin(), text.end(), End());
        Advance(text.size());
    }

    /// Puts `count` blanks in front of what was written behind the first `start` characters.
    void Indent(std::size_t start, std::size_t count) {
        if (!Fits(count))
            return;
        Char* const text = begin + start;
        std::copy_backward(text, End(), End() + count);
        std::fill_n(text, count, Char{' '});
        Advance(count);
    }

private:
    bool Fits(std::size_t count) {
        failed = failed || count > Room();
        return !failed;
    }

    Char* begin;
    std::size_t capacity;
    std::size_t used = 0;
    bool failed = false;
};

}  // namespace platform

#endif
