/// Arithmetic of the counts that the time classes hold.
#ifndef UTILITIES_TIME_COUNTS_INTERNAL_H
#define UTILITIES_TIME_COUNTS_INTERNAL_H

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "utilities/platform/calendar.h"

// In milliseconds.
inline constexpr unsigned int A_SECOND = 1000;
inline constexpr unsigned int A_MINUTE = 60 * A_SECOND;
inline constexpr unsigned int AN_HOUR = 60 * A_MINUTE;

/// The sum modulo the range of the type.
template <class Count>
Count WrappedSum(Count a, std::make_signed_t<Count> b) {
    using Unsigned = std::make_unsigned_t<Count>;
    return static_cast<Count>(static_cast<Unsigned>(a) + static_cast<Unsigned>(b));
}

/// The difference modulo the range of the type.
template <class Count>
Count WrappedDifference(Count a, Count b) {
    using Unsigned = std::make_unsigned_t<Count>;
    return static_cast<Count>(static_cast<Unsigned>(a) - static_cast<Unsigned>(b));
}

/// `value` plus `amount`, of which at most `most` is added. The sum is cut to `most`.
template <class Count>
Count AddUpTo(Count value, std::make_unsigned_t<Count> amount, Count most) {
    const Count added =
        static_cast<Count>(std::min(amount, static_cast<std::make_unsigned_t<Count>>(most)));
    return std::min(WrappedSum(value, added), most);
}

/// `value` less `amount`, of which at most `most` is subtracted, and 0 where the value is smaller.
template <class Count>
Count SubtractDownToZero(Count value, std::make_unsigned_t<Count> amount, Count most) {
    const Count taken =
        static_cast<Count>(std::min(amount, static_cast<std::make_unsigned_t<Count>>(most)));
    return value - std::min(taken, value);
}

/// The seconds of a day's begin in GMT, modulo 2^32. Day numbers from 24856 to 49710 and from
/// -24855 to -1 become negative seconds, which can't be converted; those beyond become the seconds
/// of some other day.
inline std::int32_t SecondsOfDay(int dayNumber) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(dayNumber) *
                                     static_cast<std::uint32_t>(platform::SECONDS_A_DAY));
}

#endif
