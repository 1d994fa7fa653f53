/// A calendar that gives what it is told to, and chance likewise.
#ifndef TESTS_FAKES_CALENDAR_H
#define TESTS_FAKES_CALENDAR_H

#include <cstdint>
#include <string>
#include <vector>

namespace fakes {

struct Calendar {
    std::int32_t now = 0;

    /// What the calls of `localtime` and `gmtime` give, one after the other and then the last
    /// again: a letter for a record with that letter in `tm_hour`, '-' for null.
    std::string records = "a";
    int gmDaylight = 0;
    std::int32_t* changing = nullptr;  ///< Seconds that each conversion adds 1 to.

    /// What the calls of `mktime` give, and the time zone behind each. A result but -1 leaves a
    /// record with 7 in `tm_min`.
    std::vector<std::int32_t> seconds{0};
    std::vector<std::int32_t> zones{0};

    std::vector<int> randoms{0};
    std::string calls{};  ///< l, g, m, z for `_tzset`, r, and sN for a seed N.
};

inline Calendar calendar;

}  // namespace fakes

#endif
