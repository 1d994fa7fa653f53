#include "utilities/platform/linux/civil.h"

namespace platform {

namespace {

constexpr unsigned DAYS_AN_ERA = 146'097;  // 400 years
/// From a 1st of March that lies before all days that occur, an era's first, to 1970-01-01.
constexpr unsigned DAYS_BEFORE_1970 = 719'468;

/// A day and its date. Conversions mostly ask for the day of the one before.
struct Day {
    unsigned number;                                  ///< From the era's first.
    int year, month, dayOfMonth, weekday, dayOfYear;  ///< As in `tm`.
};

Day DateOf(unsigned day) {
    const unsigned dayOfEra = day % DAYS_AN_ERA;
    const unsigned yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36'524 - dayOfEra / 146'096) / 365;
    const unsigned fromMarch = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const unsigned month = (5 * fromMarch + 2) / 153;  // March is 0
    const unsigned year = day / DAYS_AN_ERA * 400 + yearOfEra + (month >= 10 ? 1 : 0);
    const unsigned untilMarch = 59 + (IsLeapYear(year) ? 1 : 0);
    return {day,
            static_cast<int>(year) - 1900,
            static_cast<int>(month >= 10 ? month - 10 : month + 2),
            static_cast<int>(fromMarch - (153 * month + 2) / 5 + 1),
            static_cast<int>((day + 3) % 7),
            static_cast<int>(month >= 10 ? fromMarch - 306 : fromMarch + untilMarch)};
}

constinit Day lastDay{0, -1900, 2, 1, 3, 60};  // 0000-03-01

}  // namespace

void BreakDown(tm& record, std::int64_t seconds, std::int32_t offset) {
    const auto shown =
        static_cast<std::uint64_t>(seconds + offset + DAYS_BEFORE_1970 * SECONDS_A_DAY);
    const auto day = static_cast<unsigned>(shown / SECONDS_A_DAY);
    const auto second = static_cast<unsigned>(shown - std::uint64_t{day} * SECONDS_A_DAY);
    if (day != lastDay.number)
        lastDay = DateOf(day);
    record.tm_sec = static_cast<int>(second % 60);
    record.tm_min = static_cast<int>(second / 60 % 60);
    record.tm_hour = static_cast<int>(second / 3600);
    record.tm_mday = lastDay.dayOfMonth;
    record.tm_mon = lastDay.month;
    record.tm_year = lastDay.year;
    record.tm_wday = lastDay.weekday;
    record.tm_yday = lastDay.dayOfYear;
    record.tm_gmtoff = offset;
}

std::int64_t SecondsOf(const tm& record) {
    const std::int64_t time =
        std::int64_t{record.tm_hour} * 3600 + std::int64_t{record.tm_min} * 60 + record.tm_sec;
    if (record.tm_mday == lastDay.dayOfMonth && record.tm_mon == lastDay.month &&
        record.tm_year == lastDay.year)
        return (std::int64_t{lastDay.number} - DAYS_BEFORE_1970) * SECONDS_A_DAY + time;
    const std::int64_t years = FloorDivide(record.tm_mon, 12);
    const auto month = static_cast<int>(record.tm_mon - years * 12);
    const std::int64_t day =
        FirstDayOf(std::int64_t{record.tm_year} + 1900 + years, month) + record.tm_mday - 1;
    return day * SECONDS_A_DAY + time;
}

}  // namespace platform
