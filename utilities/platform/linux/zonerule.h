/// Rules of the form CET-1CEST,M3.5.0,M10.5.0/3, as in TZ and at the end of zone files.
#ifndef UTILITIES_PLATFORM_LINUX_ZONERULE_H
#define UTILITIES_PLATFORM_LINUX_ZONERULE_H

#include <cstdint>
#include <string_view>

#include "utilities/platform/linux/zone.h"

namespace platform {

/// When the clocks change in each year.
struct ZoneChange {
    enum Form { JULIAN, DAY, WEEKDAY };

    Form form;
    int month;  ///< Of WEEKDAY, 1 to 12.
    int week;   ///< 1 to 5, 5 being the last.
    int day;    ///< Day of the year, from 1 without a leap day or from 0 with it; of the week, from
                ///< 0.
    std::int32_t time;  ///< Seconds from that day's midnight.

    /// In seconds, on the clocks that are in force before it.
    std::int64_t In(int year) const;
};

/// Standard time, and daylight saving time where `hasDaylight`.
struct ZoneRule {
    ZoneClock standard;
    ZoneClock daylight;
    bool hasDaylight;
    ZoneChange start;
    ZoneChange end;
};

/// False, and `rule` untouched or half written, where the text is no rule. One with daylight saving
/// and without dates takes the second Sunday in March and the first in November.
bool ParseZoneRule(std::string_view text, ZoneRule& rule);

/// Adds the rule's changes from the year of the zone's last change on.
void AddChanges(Zone& zone, const ZoneRule& rule);

}  // namespace platform

#endif
