/// Seconds since 1970-01-01 00:00:00 UTC, as signed 32 bits, and their calendar fields.
///
/// The records that `localtime` and `gmtime` give, the zone and `_timezone` belong to the process
/// and have no lock: calls of several threads are made one at a time, but for `time`.
///
/// The process's zone is what TZ says: the name of a file of the zone database, a rule such as
/// CET-1CEST,M3.5.0,M10.5.0/3, or, unset, the system's own zone; what can't be read is UTC. The
/// environment is looked at by `_tzset` alone, and by the first call that needs a zone where none
/// was made before. The C library's own idea of the zone is neither asked nor changed. Leap seconds
/// aren't counted.
#ifndef UTILITIES_PLATFORM_CALENDAR_H
#define UTILITIES_PLATFORM_CALENDAR_H

#include <cstdint>
#include <ctime>

namespace platform {

/// The present time, stored in `seconds` as well unless that is null. -1 where the clock can't be
/// read, or shows what 32 bits can't hold.
std::int32_t time(std::int32_t* seconds);

/// The fields of `*seconds` in the process's zone, or in GMT with `tm_isdst` 0. The record is valid
/// up to the next of these calls. Null for negative seconds.
const tm* localtime(const std::int32_t* seconds);
const tm* gmtime(const std::int32_t* seconds);

/// The seconds at which clocks in the process's zone show the fields, and the record normalised:
/// any value counts in any field, `tm_wday` and `tm_yday` are set. -1 where 32 bits can't hold the
/// result, the record as it was; a negative number that fits is a result.
///
/// With `tm_isdst` 0 the fields are read as standard time, also where daylight saving is in force,
/// so that the result less `_timezone` is always the fields read as GMT; with a positive one as
/// daylight saving time, where there is any about then; with a negative one as what is in force. Of
/// two instants that show the same, the result is the earlier.
std::int32_t mktime(tm* record);

/// Reads the zone from the environment, where that has changed, or the system's own.
void _tzset();

/// What GMT is ahead of the zone's standard time, in seconds, positive west of Greenwich: that with
/// which the last `mktime` read its fields, and behind a `_tzset` or a `mktime` that failed the
/// present one.
std::int32_t _timezone();

}  // namespace platform

#endif
