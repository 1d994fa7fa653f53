#include "utilities/platform/linux/time/civil.h"

#include "utilities/platform/calendar.h"

namespace platform {

namespace {

constexpr unsigned DAYS_AN_ERA = 146'097;  // 400 years

}  // namespace

Day DayOf(unsigned number) {
    const unsigned dayOfEra = number % DAYS_AN_ERA;
    const unsigned yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36'524 - dayOfEra / 146'096) / 365;
    const unsigned fromMarch = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const unsigned month = (5 * fromMarch + 2) / 153;  // March is 0
    const unsigned year = number / DAYS_AN_ERA * 400 + yearOfEra + (month >= 10 ? 1 : 0);
    const unsigned untilMarch = 59 + (IsLeapYear(year) ? 1 : 0);
    return {number,
            static_cast<int>(year) - 1900,
            static_cast<int>(month >= 10 ? month - 10 : month + 2),
            static_cast<int>(fromMarch - (153 * month + 2) / 5 + 1),
            static_cast<int>((number + 3) % 7),
            static_cast<int>(month >= 10 ? fromMarch - 306 : fromMarch + untilMarch)};
}

std::int64_t SecondsOf(const tm& record) {
    std::int64_t years = 0;
    int month = record.tm_mon;
    if (month < 0 || month > 11) {
        years = FloorDivide(month, 12);
        month = static_cast<int>(month - years * 12);
    }
    const std::int64_t first = FirstDayOf(std::int64_t{record.tm_year} + 1900 + years, month);
    return (first + record.tm_mday - 1) * SECONDS_A_DAY + SecondsOfDay(record);
}

}  // namespace platform
