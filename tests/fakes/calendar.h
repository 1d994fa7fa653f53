/// A calendar that gives what it is told to, and chance likewise.
#ifndef TESTS_FAKES_CALENDAR_H
#define TESTS_FAKES_CALENDAR_H

#include <cstdint>
#include <string>
#include <vector>

namespace fakes {

/// Of each list a call takes the first; the last one stays.
struct Calendar {
    std::int32_t now = 0;

    /// What `localtime` and `gmtime` give: a letter for a record with that letter in `tm_hour`,
    /// '-' for null.
    std::string records = "a";
    int gmDaylight = 0;
    std::int32_t* changing = nullptr;  ///< Seconds that each conversion adds 1 to.

    /// What `mktime` gives, and the time zone behind it. A result but -1 leaves 7 in `tm_min`.
    std::vector<std::int32_t> seconds{0};
    std::vector<std::int32_t> zones{0};

    std::vector<int> randoms{0};
    std::string calls{};  ///< l, g, m or with daylight saving M, z for `_tzset`, r, sN for a seed.
};

inline Calendar calendar;

}  // namespace fakes

#endif
