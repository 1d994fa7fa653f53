/// Instants, and every conversion between seconds and calendar fields.
///
/// All conversions of the time classes go through the static members of `BqGMTime`, one call at a
/// time in the whole process. They read time zones themselves; the C library's `tzset`, its
/// `localtime` and its idea of the zone play no part and are not changed.
///
/// The process's zone is what the environment variable TZ says: the name of a file of the zone
/// database, such as Europe/Berlin, the path of such a file, or a rule, such as
/// CET-1CEST,M3.5.0,M10.5.0/3. Where TZ is unset, it is the system's own zone, /etc/localtime. A
/// text that is none of these, a misspelt name too, means UTC, and nothing reports that. A text
/// that begins with a rule is read as far as it is one, and the rest is ignored: EST5x is EST5, and
/// CET-1CEST,M3.5 changes its clocks as if it named no dates, on those of the United States. A
/// number out of its range counts as the nearest one in it. The environment variable TZDIR names
/// another folder of the zone database than /usr/share/zoneinfo.
///
/// The zone is read by the first conversion that needs it, and anew by each `BqGMTime::timegm` and
/// `BqLocalDate::set`; nothing else notices a change of TZ or of the system's zone. These two
/// notice that the file of the system's zone was replaced no later than a second after it. The
/// environment must not be changed while another thread converts. A zone that can't be read because
/// memory or descriptors are exhausted is read again by the next call that reads it; until then the
/// zone before stays in use, or UTC.
///
/// Seconds are signed 32-bit counts since 1970-01-01 00:00:00 UTC. A failed conversion is reported
/// on the standard error stream ("ASSERT(...)"), and returned by the `bool` that the caller may
/// pass.
#ifndef UTILITIES_TIME_BQGMTIME_H
#define UTILITIES_TIME_BQGMTIME_H

#include <cstdint>
#include <ctime>
#include <ostream>

#include "utilities/frame/export.h"
#include "utilities/frame/types.h"
#include "utilities/time/bqlocaldate.h"
#include "utilities/time/bqlocaltimeofday.h"

class MutexLock;

/// An instant: signed milliseconds since 1970-01-01 00:00:00 UTC. -1 is the invalid time.
///
/// Any thread may call any operation at any time. An object has no lock: several threads may use
/// one at a time only if all of them only read it. A thread inside a conversion is killed or
/// suspended after it. The child of a fork can convert at once.
///
/// Instants from 2038-01-19 03:14:08 UTC on can be counted but not converted: their seconds are
/// negative in 32 bits. Each failed conversion costs a report, and each offset that is worked out
/// for such an instant four of them.
class UTILITIES_EXPORT BqGMTime {
public:
    /// The present time, stored in `*seconds` as well unless `seconds` is null. -1 where the clock
    /// can't be read or shows a time that 32 bits can't hold. Takes no lock.
    static std::int32_t time(std::int32_t* seconds);

    /// The present time in whole seconds; 1970-01-01 00:00:00 UTC where `time` returns -1.
    static BqGMTime getCurrentTime();

    /// The fields of `*time` in the process's zone. `time` must not be null; `success` may be null.
    /// Negative seconds fail: a report, `*success` false and a record of zeros. Converts until two
    /// results in a row are equal, at most 6 times.
    static struct tm localtime(const std::int32_t* time, bool* success);

    /// The fields of `*time` in GMT. Otherwise as `localtime`, but converts once.
    static struct tm gmtime(const std::int32_t* time, bool* success);

    /// The seconds at which the zone's clocks show the fields of `*record`. The fields are read as
    /// standard time where `tm_isdst` is 0, as daylight saving time where it is positive, and as
    /// the time that is in force where it is negative. Any value counts in any field. With
    /// `writeBack` the normalised fields are stored in `*record`. `record` must not be null;
    /// `success` may be null.
    ///
    /// Fails for instants that 32 bits can't hold and for the second before 1970: a report,
    /// `*success` false, and a record of zeros in `*record` if `writeBack` is set. The result is
    /// then -1. Other negative results are instants before 1970, from 1901-12-13 on.
    static std::int32_t mktime(struct tm* record, bool writeBack, bool* success);

    /// The fields of `*record` read as GMT, provided that its `tm_isdst` is 0. The record is not
    /// changed, and must not be null. Reads the process's zone anew. The fields are read in the
    /// local zone first, and that fails within a day of the ends of the 32-bit range: a report, and
    /// a result without meaning.
    static std::int32_t timegm(struct tm* record);

    /// By how many milliseconds the zone's clocks are ahead of GMT at `instant`, daylight saving
    /// time included: whole seconds, positive east of Greenwich. Stores in `*isDaylight`, unless it
    /// is null, whether daylight saving time is in force. Costs four conversions.
    ///
    /// Returns 0 for the invalid time and for 1970-01-01 00:00:00 UTC, without storing
    /// `*isDaylight`, and 0 after four reports for an instant that can't be converted. West of
    /// Greenwich the result is wrong, after a report, in the last hours before 2038-01-19 03:14:08
    /// UTC, as many as clocks are behind GMT. Only the lower 32 bits of the instant's seconds
    /// count.
    static int getLocalTimeMsecOffset(const BqGMTime& instant, bool* isDaylight);

    /// The invalid time.
    BqGMTime();
    explicit BqGMTime(const __int64& milliseconds) : m_MilliSeconds(milliseconds) {}

    /// The instant at which clocks show `timeOfDay` on `date`: GMT clocks, or with `local` those of
    /// the process's zone. The zone's offset is taken from the instant at which GMT clocks show the
    /// same. Within hours of a change of the clocks that can be the offset on the other side of it.
    BqGMTime(const BqLocalTimeOfDay& timeOfDay, const BqLocalDate& date, bool local);

    bool isValid() const { return m_MilliSeconds != -1; }
    __int64 getMilliSeconds() const { return m_MilliSeconds; }

    /// What clocks show at this instant that are `*offset` milliseconds ahead of GMT. Where
    /// `offset` is null, it is `getLocalTimeMsecOffset`, which is worked out for each call: a
    /// caller who needs both the date and the time of day asks for the offset once. Both are 0 for
    /// the invalid time. If clocks show a time before 1970, the day number and the time of day are
    /// both rounded towards 0.
    BqLocalDate getLocalDate(const int* offset) const;
    BqLocalTimeOfDay getLocalTimeOfDay(const int* offset) const;

    /// Adds to the instant, or subtracts from it. A sum stops at 4,294,967,295,000 (2106-02-07
    /// 06:28:15 UTC), which is also the most that one call adds or subtracts; a difference stops at
    /// 0. The invalid time counts as -1. Beware of huge numbers of seconds: only the lower 64 bits
    /// of their milliseconds count, so that more than 18,446,744,073,709,551 seconds wrap.
    void addMilliSeconds(const unsigned __int64& milliseconds);
    void subMilliSeconds(const unsigned __int64& milliseconds);
    void addSeconds(const unsigned __int64& seconds);
    void subSeconds(const unsigned __int64& seconds);
    void addMinutes(unsigned int minutes);
    void subMinutes(unsigned int minutes);
    void addHours(unsigned int hours);
    void subHours(unsigned int hours);

    bool operator==(const BqGMTime& other) const { return m_MilliSeconds == other.m_MilliSeconds; }
    bool operator!=(const BqGMTime& other) const { return !(*this == other); }
    bool operator<(const BqGMTime& other) const { return m_MilliSeconds < other.m_MilliSeconds; }
    bool operator>(const BqGMTime& other) const { return other < *this; }
    bool operator<=(const BqGMTime& other) const { return !(other < *this); }
    bool operator>=(const BqGMTime& other) const { return !(*this < other); }

private:
    /// Serialises all calls of the calendar.
    UTILITIES_LOCAL static MutexLock tm_mutex;

    __int64 m_MilliSeconds = -1;
};

/// Writes the local time of day, a blank and the local date, each as the stream's locale has it.
/// The invalid time is written as "Invalid time". The stream's width and fill act on the blank and
/// on this text alone.
///
/// From 2038-01-19 03:14:08 UTC on the time is that of GMT, after eight reports on the standard
/// error stream. From the next day on the date is written as a record of zeros, 01/00/00 in the
/// classic locale, after a ninth.
UTILITIES_EXPORT std::ostream& operator<<(std::ostream& stream, const BqGMTime& instant);

#endif
