/// Text of the other width for the formatter: converted up to a number of characters, cut at a
/// whole one.
#ifndef UTILITIES_RUNTIME_TEXTCONVERSION_H
#define UTILITIES_RUNTIME_TEXTCONVERSION_H

#include <cstddef>

#include "utilities/frame/types.h"

namespace runtime {

/// The number of characters in front of the NUL of `text`. At most `most` characters are read, and
/// without a NUL among them the result is `most`.
std::size_t LengthUpTo(const char* text, std::size_t most);
std::size_t LengthUpTo(const WideChar* text, std::size_t most);

/// Converts `text` up to its NUL into `out`, as `mbstowcs` and `wcstombs` of `widetext.h` do, and
/// returns how many characters were written; there is no terminator.
///
/// The conversion ends at the last whole character that fits into `most` characters of `out`. Text
/// after it is not read and needs no NUL. Returns `platform::CONVERSION_FAILED` where the text up
/// to there can't be converted or needs more than the `space` characters that `out` has; what `out`
/// holds then is unspecified.
std::size_t ConvertUpTo(WideChar* out, std::size_t space, const char* text, std::size_t most);
std::size_t ConvertUpTo(char* out, std::size_t space, const WideChar* text, std::size_t most);

}  // namespace runtime

#endif
