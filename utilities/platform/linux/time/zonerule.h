/// Rules such as CET-1CEST,M3.5.0,M10.5.0/3, as in TZ (POSIX, "Other Environment Variables") and at
/// the end of zone files (RFC 8536).
#ifndef UTILITIES_PLATFORM_LINUX_TIME_ZONERULE_H
#define UTILITIES_PLATFORM_LINUX_TIME_ZONERULE_H

#include <cstdint>
#include <string_view>

#include "utilities/platform/linux/time/zone.h"

namespace platform {

/// On which day of each year the clocks change, and when.
struct ZoneChange {
    enum Form {
        JULIAN,   ///< `day` is 1 to 365 and never February 29: day 60 is always March 1.
        DAY,      ///< `day` is 0 to 365, February 29 included.
        WEEKDAY,  ///< `day` is 0 (Sunday) to 6, in the `week` of the `month`.
    };

    Form form;
    int month;          ///< 1 to 12.
    int week;           ///< 1 to 5, 5 being the last such weekday of the month.
    int day;            ///< As the form has it.
    std::int32_t time;  ///< Seconds from that day's midnight; may be negative or beyond a day.

    /// The change in a year, in seconds since 1970 on the clocks that are in force before it.
    std::int64_t In(int year) const;
};

/// One setting of the clocks in a rule.
struct RuleClock {
    std::string_view name;  ///< Part of the text that was parsed.
    std::int32_t offset;    ///< Seconds ahead of GMT.
};

/// Standard time, and daylight saving time where `hasDaylight`.
struct ZoneRule {
    RuleClock standard;
    RuleClock daylight;
    bool hasDaylight;
    ZoneChange start;  ///< Of daylight saving time.
    ZoneChange end;
};

/// Reads a rule. False, with `rule` half written, where the text doesn't begin with a name and an
/// offset. Beyond that as the C library does, mostly: a text is read as far as it is a rule, and
/// the rest is passed over.
/// - Without a name for daylight saving time the zone has none, whatever follows.
/// - Its offset is one hour ahead of standard time where there is none.
/// - Where a date is missing or can't be read, daylight saving time starts on the second Sunday in
///   March and ends on the first one in November.
/// - A change without a time is at two o'clock.
/// - Offsets above 24 hours, minutes and seconds of an offset above 59, and months, weeks and days
///   out of their ranges become the nearest that are right. The time of a change may be any.
bool ParseZoneRule(std::string_view text, ZoneRule& rule);

/// Starts the zone anew, with the rule's standard time.
void BeginZone(Zone& zone, const ZoneRule& rule);

/// Adds the rule's changes after the zone's last one, or all of them where there is none.
void AddChanges(Zone& zone, const ZoneRule& rule);

}  // namespace platform

#endif
