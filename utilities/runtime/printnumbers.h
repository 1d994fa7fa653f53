/// The characters of the formatter's numbers, which are the same in both widths.
#ifndef UTILITIES_RUNTIME_PRINTNUMBERS_H
#define UTILITIES_RUNTIME_PRINTNUMBERS_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

#include "utilities/runtime/printdirective.h"

namespace runtime {

/// A number without the padding to its width, in parts that follow each other. The zeros are only
/// counted, so that no precision needs space or time.
struct NumberText {
    char prefix[3] = {};  ///< The sign, and "0x".
    std::size_t prefixLength = 0;
    bool padsWithZeros = false;  ///< Whether the flag '0' applies.
    std::size_t leadingZeros = 0;
    std::string_view whole;
    bool hasPoint = false;
    std::string_view fraction;
    std::size_t trailingZeros = 0;
    std::string_view exponent;
};

/// Space for the octal digits of the widest integer.
inline constexpr std::size_t INTEGER_CAPACITY = 24;

/// The most fraction digits that a number of the type can have; further ones are zeros.
template <class Float>
inline constexpr int MAX_FRACTION =
    std::numeric_limits<Float>::digits - std::numeric_limits<Float>::min_exponent;

/// Space for the longest number with that many fraction digits and for a decimal point of several
/// bytes, in any of the forms.
template <class Float>
inline constexpr std::size_t FLOAT_CAPACITY =
    static_cast<std::size_t>(std::numeric_limits<Float>::max_exponent10 + MAX_FRACTION<Float>) + 32;

/// Whether an integer is nothing but its sign and decimal digits.
bool IsPlainDecimal(const Directive& directive);

/// Such an integer.
std::string_view FormatPlain(char (&buffer)[INTEGER_CAPACITY], std::uintmax_t magnitude,
                             bool negative);

/// Space for what the other one returns.
inline constexpr std::size_t PLAIN_CAPACITY = 48;

/// A floating number of which the same is true, with a point that the locale has as well, or the
/// empty text for all that aren't so usual.
std::string_view FormatPlain(char (&buffer)[PLAIN_CAPACITY], const Directive& directive,
                             double value);

/// The number as the directive asks for it, with parts that point into `buffer`.
NumberText FormatInteger(char (&buffer)[INTEGER_CAPACITY], const Directive& directive,
                         std::uintmax_t magnitude, bool negative);

/// The same for a floating number; nothing where the host's printf has no memory for its digits.
std::optional<NumberText> FormatFloat(char (&buffer)[FLOAT_CAPACITY<double>],
                                      const Directive& directive, double value);
std::optional<NumberText> FormatFloat(char (&buffer)[FLOAT_CAPACITY<long double>],
                                      const Directive& directive, long double value);

}  // namespace runtime

#endif
