/// How a number or a text is read as a number of another type: bounds, rounding and parsers. Used
/// to read a value as a number, and to store a text as a number.
#ifndef UTILITIES_VALUES_CONVERSION_INTERNAL_H
#define UTILITIES_VALUES_CONVERSION_INTERNAL_H

#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

#include "utilities/frame/static_objects_internal.h"
#include "utilities/frame/types.h"
#include "utilities/runtime/numbers.h"

namespace conversion {

/// The upper bound of reading a `From` as a `To`. Three pairs don't use the whole range of `To`.
template <class To, class From>
inline constexpr To UPPER = std::numeric_limits<To>::max();
template <>
inline constexpr unsigned int UPPER<unsigned int, __int64> = 2147483647u;
template <>
inline constexpr unsigned __int64 UPPER<unsigned __int64, float> = 4294967296u;
template <>
inline constexpr unsigned __int64 UPPER<unsigned __int64, double> = 4294967295u;

/// The upper bound of reading a text as a `To`, whatever its parser returns.
template <class To>
inline constexpr To TEXT_UPPER = std::numeric_limits<To>::max();
template <>
inline constexpr unsigned __int64 TEXT_UPPER<unsigned __int64> = 4294967295u;

template <class To, class From>
constexpr To Saturate(From value, To upper) {
    constexpr To LOWER = std::numeric_limits<To>::min();
    if (std::cmp_less(value, LOWER))
        return LOWER;
    return std::cmp_greater(value, upper) ? upper : static_cast<To>(value);
}

/// Rounds halves away from zero, by adding or subtracting 0.5 in double precision. The bounds are
/// checked before the cast, as casting a number out of range is undefined. The bound of a 64-bit
/// target isn't a double; it converts to the next double above, which `>=` catches. A NaN becomes
/// the 64-bit pattern with only the top bit set, of which narrower targets keep the low bits.
template <class To>
To RoundSaturate(double value, To upper) {
    if (std::isnan(value))
        return static_cast<To>(0x8000000000000000u);
    constexpr To LOWER = std::numeric_limits<To>::min();
    const double rounded = value >= 0.0 ? value + 0.5 : value - 0.5;
    if (rounded >= static_cast<double>(upper))
        return upper;
    if (rounded <= static_cast<double>(LOWER))
        return LOWER;
    return static_cast<To>(rounded);
}

/// Saturates at the largest finite numbers of single precision. A NaN stays a NaN.
inline float NarrowToFloat(double value) {
    constexpr double LARGEST = std::numeric_limits<float>::max();
    if (value < -LARGEST)
        return static_cast<float>(-LARGEST);
    return static_cast<float>(value > LARGEST ? LARGEST : value);
}

template <class To, class From>
To FromNumber(From value) {
    if constexpr (std::is_same_v<To, bool>) {
        return value != 0;
    } else if constexpr (std::is_same_v<To, char>) {
        return static_cast<char>(FromNumber<signed char>(value));
    } else if constexpr (std::is_floating_point_v<To>) {
        if constexpr (std::is_same_v<From, unsigned __int64>)
            return static_cast<To>(Saturate(value, std::numeric_limits<__int64>::max()));
        else if constexpr (std::is_same_v<From, double> && std::is_same_v<To, float>)
            return NarrowToFloat(value);
        else
            return static_cast<To>(value);
    } else if constexpr (std::is_floating_point_v<From>) {
        return RoundSaturate(static_cast<double>(value), UPPER<To, From>);
    } else {
        return Saturate(value, UPPER<To, From>);
    }
}

/// The parsers under one name for both widths, and the comparison with the text that reads as
/// false.
inline std::int32_t Parse32(const char* text) { return runtime::atol(text); }
inline std::int32_t Parse32(const WideChar* text) { return runtime::_wtol(text); }
inline __int64 Parse64(const char* text) { return runtime::_atoi64(text); }
inline __int64 Parse64(const WideChar* text) { return runtime::_wtoi64(text); }
inline double ParseDouble(const char* text) { return runtime::atof(text); }
inline double ParseDouble(const WideChar* text) { return runtime::wcstod(text); }
inline bool IsFalse(const String& text) { return text == NARROW_FALSE; }
inline bool IsFalse(const WString& text) { return text == WIDE_FALSE; }

template <class To, class Text>
To FromText(const Text& text) {
    if constexpr (std::is_same_v<To, bool>)
        return !text.empty() && !IsFalse(text);
    else if constexpr (std::is_same_v<To, char>)
        return static_cast<char>(FromText<signed char>(text));
    else if constexpr (std::is_same_v<To, float>)
        return NarrowToFloat(ParseDouble(text.c_str()));
    else if constexpr (std::is_same_v<To, double>)
        return ParseDouble(text.c_str());
    else if constexpr (sizeof(To) == 8 || std::is_same_v<To, unsigned int>)
        return Saturate(Parse64(text.c_str()), TEXT_UPPER<To>);
    else
        return Saturate(Parse32(text.c_str()), TEXT_UPPER<To>);
}

}  // namespace conversion

#endif
