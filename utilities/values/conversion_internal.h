/// How a number or a text reads as a number: the bounds, the rounding and the parsers, for the
/// readings of a value and for storing a text.
#ifndef UTILITIES_VALUES_CONVERSION_INTERNAL_H
#define UTILITIES_VALUES_CONVERSION_INTERNAL_H

#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

#include "utilities/frame/static_objects_internal.h"
#include "utilities/platform/numbers.h"
#include "utilities/platform/types.h"

namespace conversion {

/// What a source of type `From` reads as at the most. Three pairs stop short of the target's range.
template <class To, class From>
inline constexpr To UPPER = std::numeric_limits<To>::max();
template <>
inline constexpr unsigned int UPPER<unsigned int, __int64> = 2147483647u;
template <>
inline constexpr unsigned __int64 UPPER<unsigned __int64, float> = 4294967296u;
template <>
inline constexpr unsigned __int64 UPPER<unsigned __int64, double> = 4294967295u;

/// What a text reads as at the most, whatever its parser gives.
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

/// Rounds halves away from zero by adding or subtracting 0.5 in double precision. Bounds are
/// compared before the cast, which sees only what it can hold; the bound of the 64-bit target
/// itself is no double, the next one above it is. A NaN gives the pattern with the top bit of 64
/// set, of which narrower targets keep the low bits.
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

/// Saturates to the largest finite numbers of single precision; a NaN stays.
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

/// The parsers of both widths, by one name each, and the text that reads as false.
inline std::int32_t Parse32(const char* text) { return platform::atol(text); }
inline std::int32_t Parse32(const WideChar* text) { return platform::_wtol(text); }
inline __int64 Parse64(const char* text) { return platform::_atoi64(text); }
inline __int64 Parse64(const WideChar* text) { return platform::_wtoi64(text); }
inline double ParseDouble(const char* text) { return platform::atof(text); }
inline double ParseDouble(const WideChar* text) { return platform::wcstod(text); }
inline const String& FalseText(const String&) { return NarrowFalseText; }
inline const WString& FalseText(const WString&) { return WideFalseText; }

template <class To, class Text>
To FromText(const Text& text) {
    if constexpr (std::is_same_v<To, bool>)
        return !text.empty() && text != FalseText(text);
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
