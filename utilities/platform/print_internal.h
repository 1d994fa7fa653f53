/// What the formatter's two sources share: `print.cpp` reads formats and writes text of either
/// width, `print_numbers.cpp` makes the characters of numbers, which are the same in both.
#ifndef UTILITIES_PLATFORM_PRINT_INTERNAL_H
#define UTILITIES_PLATFORM_PRINT_INTERNAL_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace platform {

/// What a width or a precision above every possible text's length counts as.
inline constexpr std::size_t TOO_LONG = std::size_t{std::numeric_limits<int>::max()} + 1;

enum class ArgumentSize { Default, Char, Short, Long, LongLong, Max, Size, Difference, LongDouble };

/// One conversion, as the format asks for it.
struct Conversion {
    bool left = false;
    bool plus = false;
    bool blank = false;
    bool alternate = false;
    bool zero = false;
    bool hasPrecision = false;
    ArgumentSize size = ArgumentSize::Default;
    char type = '\0';
    std::size_t width = 0;
    std::size_t precision = 0;
};

/// The characters of a number without the padding to its width, in the order of the fields. The
/// zeros are only counted, so that no precision needs room or time.
struct NumberText {
    char prefix[3] = {};
    std::size_t prefixLength = 0;
    bool padsWithZeros = false;
    std::size_t leadingZeros = 0;
    std::string_view whole;
    bool hasPoint = false;
    std::string_view fraction;
    std::size_t trailingZeros = 0;
    std::string_view exponent;
};

/// Room for the octal digits of the widest integer.
inline constexpr std::size_t INTEGER_CAPACITY = 24;

/// The fraction digits that a number of the type can have at most; further ones are zeros.
template <class Float>
inline constexpr int MAX_FRACTION =
    std::numeric_limits<Float>::digits - std::numeric_limits<Float>::min_exponent;

/// Room for the longest number with that many fraction digits and for a decimal point of several
/// bytes, in any of the forms.
template <class Float>
inline constexpr std::size_t FLOAT_CAPACITY =
    static_cast<std::size_t>(std::numeric_limits<Float>::max_exponent10 + MAX_FRACTION<Float>) + 32;

/// The results point into `room`.
NumberText FormatInteger(char (&room)[INTEGER_CAPACITY], const Conversion& conversion,
                         std::uintmax_t magnitude, bool negative);
NumberText FormatFloat(char (&room)[FLOAT_CAPACITY<double>], const Conversion& conversion,
                       double value);
NumberText FormatFloat(char (&room)[FLOAT_CAPACITY<long double>], const Conversion& conversion,
                       long double value);

}  // namespace platform

#endif
