/// printf of both widths, one formatter.
///
/// The conversions are d i u o x X c s p n e E f F g G a A and %, with the flags "-+ #0", width and
/// precision (`*` too) and the length modifiers hh h l ll j z t L, and I64 for 64-bit integers. Of
/// numbers, the result is that of the host's printf, with the locale's decimal point.
///
/// `%s` and `%c` take text of the call's own width, `%S` and `%C` of the other one, `%hs` and `%hc`
/// narrow, `%ls` and `%lc` wide text, which is 16-bit units. Text of the other width is converted
/// by `mbstowcs` and `wcstombs` of `widetext.h`. A precision counts characters of the output, and
/// the output ends at a whole character; the text is not read beyond that and needs no NUL there. A
/// null text prints "(null)", a null pointer "(nil)".
///
/// A "%" that begins no conversion is printed as it stands with what follows it, also an unfinished
/// conversion at the end of the format.
#ifndef UTILITIES_RUNTIME_PRINT_H
#define UTILITIES_RUNTIME_PRINT_H

#include <cstdarg>
#include <cstddef>

#include "utilities/frame/types.h"

namespace runtime {

/// Writes the text into `buffer` and returns its length. Up to `limit` characters fit; a terminator
/// follows if there is space for one, so a text of exactly `limit` characters has none. Returns -1
/// for a longer text, for an argument that can't be converted and for a number whose digits find no
/// memory; the content of `buffer` is unspecified then. `format` and `buffer` must not be null.
///
/// Thread-safe while no thread changes the locale.
///
/// The stack that a call takes was measured: 2 to 4 kB for integers, texts and usual numbers, 13 kB
/// for a double with 900 digits, 26 kB for "%La", and 110 kB for a long double with thousands of
/// digits in its fraction. Only that last kind uses the heap, and conversions of long texts in a
/// locale that is neither UTF-8 nor "C".
int _vsnprintf(char* buffer, std::size_t limit, const char* format, std::va_list arguments);
int _vsnwprintf(WideChar* buffer, std::size_t limit, const WideChar* format,
                std::va_list arguments);

}  // namespace runtime

#endif
