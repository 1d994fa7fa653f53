/// Arithmetic of the Gregorian calendar: days and seconds counted from 1970-01-01, and their dates.
/// Pure functions without any state.
#ifndef UTILITIES_PLATFORM_LINUX_TIME_CIVIL_H
#define UTILITIES_PLATFORM_LINUX_TIME_CIVIL_H

#include <cstdint>
#include <ctime>

namespace platform {

/// Days from 0000-03-01 to 1970-01-01.
inline constexpr unsigned DAYS_BEFORE_1970 = 719'468;

/// Rounds down, also for negative values. `by` must be positive.
constexpr std::int64_t FloorDivide(std::int64_t value, std::int64_t by) {
    return value / by - (value % by < 0 ? 1 : 0);
}

constexpr bool IsLeapYear(std::int64_t year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

/// The number of the day, counted from 1970-01-01, on which a month begins. January is 0, December
/// 11.
///
/// The year is taken to begin with March, so that a leap day is its last day, and the months'
/// lengths from there on follow one formula. The method is that of H. Hinnant, "chrono-Compatible
/// Low-Level Date Algorithms". It counts from a year so early that all numbers are positive, as
/// divisions without a sign are cheaper. Right for all years that an `int` can hold.
constexpr std::int64_t FirstDayOf(std::int64_t year, int month) {
    constexpr std::int64_t ERAS = 1 << 23;  // of 400 years
    const auto march = static_cast<std::uint64_t>(year + 400 * ERAS - (month < 2 ? 1 : 0));
    const auto monthOfYear = static_cast<unsigned>(month + (month < 2 ? 10 : -2));
    const std::uint64_t days =
        march * 365 + march / 4 - march / 100 + march / 400 + (153 * monthOfYear + 2) / 5;
    return static_cast<std::int64_t>(days) - ERAS * 146'097 - DAYS_BEFORE_1970;
}

/// A day and its date.
struct Day {
    unsigned number;                                  ///< Counted from 0000-03-01.
    int year, month, dayOfMonth, weekday, dayOfYear;  ///< As in `tm`.
};

/// The date of the day `number`, counted from 0000-03-01: no day that occurs has a negative number,
/// and unsigned divisions are cheaper. The inverse of `FirstDayOf`, by the same method.
Day DayOf(unsigned number);

/// The seconds since 1970-01-01 00:00:00 GMT at which GMT clocks show the fields. Any value counts
/// in any field; `tm_wday`, `tm_yday` and `tm_isdst` play no part.
std::int64_t SecondsOf(const tm& record);

/// The seconds of the hour, the minute and the second alone.
constexpr std::int64_t SecondsOfDay(const tm& record) {
    return std::int64_t{record.tm_hour} * 3600 + std::int64_t{record.tm_min} * 60 + record.tm_sec;
}

}  // namespace platform

#endif
