/// Seconds since 1970-01-01 00:00:00 UTC, as signed 32 bits, and their calendar fields.
///
/// All but `time` share one state without a lock: the process's zone, the record that `localtime`
/// and `gmtime` return, and the result of `_timezone`. The caller makes these calls one at a time,
/// under a `StopDeferral`, so that no thread is stopped in the middle of one. A fork may come at
/// any moment: if another thread was inside a call, the child reads its zone anew.
///
/// The zone is what TZ says: the name of a file of the zone database, a path, a rule such as
/// CET-1CEST,M3.5.0,M10.5.0/3, read as far as the text is one, or, where TZ is unset, the system's
/// own zone. Anything else is UTC.
/// Only `_tzset` looks at the environment, and the first call of another operation that needs a
/// zone, where there was no `_tzset` before it. The C library's own idea of the zone is neither
/// asked nor changed. Leap seconds aren't counted.
#ifndef UTILITIES_PLATFORM_CALENDAR_H
#define UTILITIES_PLATFORM_CALENDAR_H

#include <cstdint>
#include <ctime>

namespace platform {

inline constexpr std::int32_t SECONDS_A_DAY = 86'400;
inline constexpr std::int32_t MILLISECONDS_A_DAY = 1000 * SECONDS_A_DAY;

/// The present time, stored in `*seconds` as well unless `seconds` is null. -1 where the clock
/// can't be read, or shows what 32 bits can't hold. Any thread may call this at any time.
std::int32_t time(std::int32_t* seconds);

/// The fields of `*seconds` in the process's zone. Null for negative seconds. The record is valid
/// until the next call of `localtime` or `gmtime`; the name of the zone in it stays valid.
const tm* localtime(const std::int32_t* seconds);

/// The fields of `*seconds` in GMT, with `tm_isdst` 0. Otherwise as `localtime`.
const tm* gmtime(const std::int32_t* seconds);

/// The seconds at which clocks in the process's zone show the fields of `*record`, and the record
/// normalised, with `tm_wday` and `tm_yday` set. Any value counts in any field. Where clocks show
/// the same twice, the result is the earlier instant. -1 where 32 bits can't hold the result, with
/// the record as it was; other negative numbers are results.
///
/// `tm_isdst` chooses the clocks that the fields are read with:
/// - 0: standard time, also where daylight saving time is in force, so that the result less
///   `_timezone()` is always the fields read as GMT;
/// - positive: daylight saving time, if the zone has any within a year of then, otherwise what is
///   in force;
/// - negative: what is in force.
std::int32_t mktime(tm* record);

/// The same for a record that is not normalised, at half the cost.
std::int32_t mktime(const tm& record);

/// Reads the zone from the environment, if TZ or the system's own zone has changed since the last
/// time. The system's file is looked at by the first call in each second of the clock. Where the
/// zone can't be read at present (memory or descriptors are exhausted), the last zone stays in use,
/// UTC where there was none, and the next call tries again.
void _tzset();

/// What GMT is ahead of the zone's standard time, in seconds, positive west of Greenwich. After a
/// `mktime` that succeeded: the standard time with which it read its fields. After a `_tzset` or a
/// `mktime` that failed: the zone's last one.
std::int32_t _timezone();

}  // namespace platform

#endif
