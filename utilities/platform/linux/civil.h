/// Days and seconds of the Gregorian calendar, counted from 1970-01-01. The conversions remember
/// the last day, so the calls of several threads are made one at a time.
#ifndef UTILITIES_PLATFORM_LINUX_CIVIL_H
#define UTILITIES_PLATFORM_LINUX_CIVIL_H

#include <cstdint>
#include <ctime>

namespace platform {

inline constexpr std::int64_t SECONDS_A_DAY = 86'400;

constexpr std::int64_t FloorDivide(std::int64_t value, std::int64_t by) {
    return value / by - (value % by < 0 ? 1 : 0);
}

constexpr bool IsLeapYear(std::int64_t year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

/// The day on which the month begins, January being 0. The year is taken to begin with March, so
/// that a leap day is its last.
constexpr std::int64_t FirstDayOf(std::int64_t year, int month) {
    year -= month < 2 ? 1 : 0;
    const std::int64_t era = FloorDivide(year, 400);
    const std::int64_t yearOfEra = year - era * 400;
    const int dayOfYear = (153 * (month + (month > 1 ? -2 : 10)) + 2) / 5;
    return era * 146'097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719'468;
}

/// All fields of `seconds`, shown by a clock that is `offset` ahead of GMT. Both as they occur with
/// seconds of 32 bits.
void BreakDown(tm& record, std::int64_t seconds, std::int32_t offset);

/// The fields read as GMT; any value counts in any of them.
std::int64_t SecondsOf(const tm& record);

}  // namespace platform

#endif
