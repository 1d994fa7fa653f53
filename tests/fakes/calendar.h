/// A calendar and a random generator that return what a test sets.
#ifndef TESTS_FAKES_CALENDAR_H
#define TESTS_FAKES_CALENDAR_H

#include <cstdint>
#include <string>
#include <vector>

namespace fakes {

/// A call takes the first element of its list; the last element stays.
struct Calendar {
    std::int32_t now = 0;

    /// What `localtime` and `gmtime` return: a letter for a record with it in `tm_hour`, '-' for
    /// null.
    std::string records = "a";
    int gmDaylight = 0;
    std::int32_t* changing = nullptr;  ///< Seconds that each conversion adds 1 to.

    /// What `mktime` returns, and `_timezone` after it. A result other than -1 sets `tm_min` to 7.
    std::vector<std::int32_t> seconds{0};
    std::vector<std::int32_t> zones{0};

    std::vector<int> randoms{0};
    std::string calls{};  ///< l, g, m or with daylight saving M, z for `_tzset`, r, sN for a seed.
};

inline Calendar calendar;

}  // namespace fakes

#endif
