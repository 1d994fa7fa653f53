/// What the formatter writes to.
#ifndef UTILITIES_PLATFORM_PRINTF_OUTPUT_INTERNAL_H
#define UTILITIES_PLATFORM_PRINTF_OUTPUT_INTERNAL_H

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "utilities/platform/printf_internal.h"

namespace platform {

/// The buffer, filled from its start. Once something didn't fit, nothing is written any more.
template <class Char>
class Output {
public:
    Output(Char* buffer, std::size_t limit)
        : m_Begin(buffer), m_Limit(std::min(limit, TOO_LONG - 1)) {}

    std::size_t Count() const { return m_Count; }
    std::size_t Room() const { return m_Limit - m_Count; }
    Char* End() { return m_Begin + m_Count; }
    bool Failed() const { return m_Failed; }
    void Fail() { m_Failed = true; }

    /// Takes in what was written at the end.
    void Advance(std::size_t count) { m_Count += count; }

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
        Char* const text = m_Begin + start;
        std::copy_backward(text, End(), End() + count);
        std::fill_n(text, count, Char{' '});
        Advance(count);
    }

private:
    bool Fits(std::size_t count) {
        m_Failed = m_Failed || count > Room();
        return !m_Failed;
    }

    Char* m_Begin;
    std::size_t m_Limit;
    std::size_t m_Count = 0;
    bool m_Failed = false;
};

}  // namespace platform

#endif
