/// Arithmetic of the counts behind the time classes.
#ifndef UTILITIES_TIME_COUNTS_INTERNAL_H
#define UTILITIES_TIME_COUNTS_INTERNAL_H

#include <algorithm>
#include <type_traits>

/// What runs past the type's range comes back in at its other end.
template <class Count>
Count WrappedSum(Count a, std::make_signed_t<Count> b) {
    using Unsigned = std::make_unsigned_t<Count>;
    return static_cast<Count>(static_cast<Unsigned>(a) + static_cast<Unsigned>(b));
}

template <class Count>
Count WrappedDifference(Count a, Count b) {
    using Unsigned = std::make_unsigned_t<Count>;
    return static_cast<Count>(static_cast<Unsigned>(a) - static_cast<Unsigned>(b));
}

/// `value` with at most `most` added, and at most `most` itself.
template <class Count>
Count AddUpTo(Count value, std::make_unsigned_t<Count> amount, Count most) {
    const Count added =
        static_cast<Count>(std::min(amount, static_cast<std::make_unsigned_t<Count>>(most)));
    return std::min(WrappedSum(value, added), most);
}

/// `value` with at most `most` taken away, and 0 where that is more than there is.
template <class Count>
Count SubtractDownToZero(Count value, std::make_unsigned_t<Count> amount, Count most) {
    const Count taken =
        static_cast<Count>(std::min(amount, static_cast<std::make_unsigned_t<Count>>(most)));
    return value - std::min(taken, value);
}

#endif
