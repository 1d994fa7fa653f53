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
        : begin_(buffer), limit_(std::min(limit, TOO_LONG - 1)) {}

    std::size_t Count() const { return count_; }
    std::size_t Room() const { return limit_ - count_; }
    Char* End() { return begin_ + count_; }
    bool Failed() const { return failed_; }
    void Fail() { failed_ = true; }

    /// Takes in what was written at the end.
    void Advance(std::size_t count) { count_ += count; }

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
        Char* const text = begin_ + start;
        std::copy_backward(text, End(), End() + count);
        std::fill_n(text, count, Char{' '});
        Advance(count);
    }

private:
    bool Fits(std::size_t count) {
        failed_ = failed_ || count > Room();
        return !failed_;
    }

    Char* begin_;
    std::size_t limit_;
    std::size_t count_ = 0;
    bool failed_ = false;
};

}  // namespace platform

#endif
