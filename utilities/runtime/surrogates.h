/// A code point above 0xFFFF as two 16-bit units.
#ifndef UTILITIES_RUNTIME_SURROGATES_H
#define UTILITIES_RUNTIME_SURROGATES_H

#include <cstddef>

#include "utilities/frame/types.h"

namespace runtime {

constexpr bool IsSurrogate(char32_t point) { return point >= 0xD800 && point <= 0xDFFF; }
constexpr bool IsHighSurrogate(WideChar unit) { return (unit & 0xFC00) == 0xD800; }
constexpr bool IsLowSurrogate(WideChar unit) { return (unit & 0xFC00) == 0xDC00; }

struct CodePoint {
    char32_t value;     ///< A surrogate without its other half stands for itself.
    std::size_t units;  ///< 1 or 2.
};

/// The code point at `text`, which ends in a NUL.
constexpr CodePoint ReadUnits(const WideChar* text) {
    if (IsHighSurrogate(text[0]) && IsLowSurrogate(text[1]))
        return {0x10000 + ((text[0] & 0x3FFu) << 10) + (text[1] & 0x3FFu), 2};
    return {text[0], 1};
}

/// Writes `point` and returns the end of its units.
constexpr WideChar* WriteUnits(WideChar* out, char32_t point) {
    if (point > 0xFFFF) {
        *out++ = static_cast<WideChar>(0xD7C0 + (point >> 10));
        point = 0xDC00 | (point & 0x3FF);
    }
    *out++ = static_cast<WideChar>(point);
    return out;
}

}  // namespace runtime

#endif
