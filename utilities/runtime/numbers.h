/// Single numbers to and from text, in both widths.
#ifndef UTILITIES_RUNTIME_NUMBERS_H
#define UTILITIES_RUNTIME_NUMBERS_H

#include <cstddef>
#include <cstdint>

#include "utilities/frame/types.h"

namespace runtime {

/// The parsers read the decimal number at the start of `text`, after ASCII white space and an
/// optional sign, and ignore what follows it. The text may have any length and is read in place,
/// without heap. A text without a number reads as 0, and so do "0x10" (its first 0), "inf" and
/// "nan". Characters outside ASCII are neither digit nor blank. A number beyond the result's range
/// reads as the nearest bound of the range. `text` must not be null. Any thread may call them.

/// 32-bit integers.
std::int32_t atol(const char* text);
std::int32_t _wtol(const WideChar* text);

/// 64-bit integers.
__int64 _atoi64(const char* text);
__int64 _wtoi64(const WideChar* text);

/// The nearest double (ties to even, as IEEE 754 has it), with the locale's decimal point. The
/// bounds are those of the finite numbers: the result is never infinite or a NaN. A number too
/// small for a double is 0, with its sign.
double atof(const char* text);
double wcstod(const WideChar* text);

/// Space for the longest text that `FormatGeneral` writes.
inline constexpr std::size_t GENERAL_CAPACITY = 48;

/// Writes `value` as printf's "%g" does, with the locale's decimal point, and returns the number of
/// bytes written; there is no terminator. `out` has `GENERAL_CAPACITY` bytes.
std::size_t FormatGeneral(char* out, double value);

/// The same in wide characters. Where the locale's decimal point has no wide form, it is a '.', as
/// for `wcstod`.
std::size_t FormatGeneral(WideChar* out, double value);

}  // namespace runtime

#endif
