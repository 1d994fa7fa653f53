/// Day numbers as the calendar reads them.
#ifndef UTILITIES_TIME_DAYS_INTERNAL_H
#define UTILITIES_TIME_DAYS_INTERNAL_H

#include <cstdint>

inline constexpr std::int32_t SECONDS_A_DAY = 86'400;

/// When the day begins in GMT. A day that 32 bits can't hold becomes another or, mostly, one that
/// the calendar refuses.
inline std::int32_t SecondsOfDay(int dayNumber) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(dayNumber) *
                                     static_cast<std::uint32_t>(SECONDS_A_DAY));
}

#endif
