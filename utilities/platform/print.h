/// printf of both widths, one formatter.
///
/// The conversions are d i u o x X c s p n e E f F g G a A and %, with the flags "-+ #0", width and
/// precision (`*` too) and the length modifiers hh h l ll j z t L, and I64 for 64-bit integers. Of
/// numbers, the result is that of the host's printf, with the locale's decimal point.
///
/// `%s` and `%c` take text of the call's own width, `%S` and `%C` of the other one, `%hs` and `%hc`
/// narrow, `%ls` and `%lc` wide text, which is 16-bit units. Text of the other width crosses as
/// `mbstowcs` and `wcstombs` of `widetext.h` have it. A precision counts characters of the output,
/// cut at a whole character; the text is read no further and needs no NUL there. A null text prints
/// "(null)", a null pointer "(nil)".
///
/// What is no conversion is printed as it stands, an unfinished one at the end of the format too.
#ifndef UTILITIES_PLATFORM_PRINT_H
#define UTILITIES_PLATFORM_PRINT_H

#include <cstdarg>
#include <cstddef>

#include "utilities/platform/types.h"

namespace platform {

/// Writes the text into `buffer` and gives its length. Up to `limit` characters fit; a terminator
/// follows where there is room for one, so a text of exactly `limit` characters has none. A longer
/// text, and one that holds text that can't cross, give -1, and what stands in `buffer` then is
/// unspecified. `format` and `buffer` must not be null.
///
/// Thread-safe while no thread changes the locale. Uses no heap but where text crosses in a locale
/// that is neither UTF-8 nor "C"; a long double takes 20 kB of stack.
int _vsnprintf(char* buffer, std::size_t limit, const char* format, std::va_list arguments);
int _vsnwprintf(WideChar* buffer, std::size_t limit, const WideChar* format,
                std::va_list arguments);

}  // namespace platform

#endif
