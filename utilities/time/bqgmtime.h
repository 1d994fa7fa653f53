/// Instants, and the one gate to the system's calendar.
///
/// Everything that converts between seconds and calendar fields goes through the static members of
/// `BqGMTime`, one call at a time in the whole process. The process's time zone is read from the
/// environment (TZ, or else the system's zone) by the first conversion, and anew by each
/// `BqGMTime::timegm` and `BqLocalDate::set`; nothing else notices a change, and the C library's
/// `tzset` plays no part. The environment must not be changed while other threads call these.
///
/// Seconds are signed 32-bit counts since 1970-01-01 00:00:00 UTC. What fails is reported on the
/// standard error stream ("ASSERT(...)"), and told by the `bool` that the caller may ask for.
#ifndef UTILITIES_TIME_BQGMTIME_H
#define UTILITIES_TIME_BQGMTIME_H

#include <cstdint>
#include <ctime>
#include <ostream>

#include "utilities/frame/export.h"
#include "utilities/platform/types.h"
#include "utilities/time/bqlocaldate.h"
#include "utilities/time/bqlocaltimeofday.h"

class MutexLock;

/// An instant: signed milliseconds since 1970-01-01 00:00:00 UTC. -1 is the invalid time.
///
/// Any thread may call any operation. An object has no lock: one isn't for several threads at a
/// time unless all only read. Instants from 2038-01-19 03:14:08 UTC on can be counted but not
/// converted: they are reported, and are shown without an offset.
class UTILITIES_EXPORT BqGMTime {
public:
    /// The present time, stored in `seconds` as well unless that is null. -1 where the clock can't
    /// be read.
    static std::int32_t time(std::int32_t* seconds);

    /// The present time to the second; the epoch where the clock can't be read.
    static BqGMTime getCurrentTime();

    /// The fields of `*time` in the process's zone, and in GMT. `time` must not be null; `success`
    /// may be. Negative seconds fail: the result is a record of zeros.
    ///
    /// `localtime` converts until two results in a row are the same, 6 times at most.
    static struct tm localtime(const std::int32_t* time, bool* success);
    static struct tm gmtime(const std::int32_t* time, bool* success);

    /// The seconds at which the zone's clocks show the fields of `*record`, as standard time where
    /// `tm_isdst` is 0, as daylight saving time where it is positive, else as what is in force. Any
    /// value counts in any field. With `writeBack` the normalised fields are stored in `*record`.
    ///
    /// A result of -1 means failure, as do instants that 32 bits don't hold; `*record` becomes
    /// zeros then if `writeBack` is set. Instants before 1970 down to 1901-12-13 are other negative
    /// numbers. `record` must not be null; `success` may be.
    static std::int32_t mktime(struct tm* record, bool writeBack, bool* success);

    /// The fields of `*record` read as GMT, provided that its `tm_isdst` is 0. The record stays as
    /// it is. Reads the process's zone anew. What can't be read in the local zone fails, within 15
    /// hours of the ends of the range; the result is a number without meaning then.
    static std::int32_t timegm(struct tm* record);

    /// By how many milliseconds the zone's clocks are ahead of GMT at `instant`, daylight saving
    /// included; positive east of Greenwich, whole seconds. `isDaylight`, unless null, gets whether
    /// daylight saving is in force. The invalid time and the epoch give 0 and leave `isDaylight` as
    /// it is. 0 as well, after reports, for what can't be converted; and where clocks are behind
    /// GMT a wrong one, after a report, for as many hours before 2038-01-19 03:14:08 UTC. Of the
    /// instant's seconds the lower 32 bits count.
    static int getLocalTimeMsecOffset(const BqGMTime& instant, bool* isDaylight);

    /// The invalid time.
    BqGMTime();
    explicit BqGMTime(const __int64& milliseconds) : m_MilliSeconds(milliseconds) {}

    /// The instant at which clocks show this, in GMT or, with `local`, in the process's zone. The
    /// zone's offset is then the one at the instant that GMT clocks show this: within hours of a
    /// change of the clocks that can be the one before or after it.
    BqGMTime(const BqLocalTimeOfDay& timeOfDay, const BqLocalDate& date, bool local);

    bool isValid() const { return m_MilliSeconds != -1; }
    __int64 getMilliSeconds() const { return m_MilliSeconds; }

    /// What clocks show at this instant that are `*offset` milliseconds ahead of GMT, or, where it
    /// is null, the zone's own. Who asks for both saves time with an offset of
    /// `getLocalTimeMsecOffset`. 0 for the invalid time. Instants that are shown as being before
    /// 1970 have the day number and the time of day both rounded towards 0.
    BqLocalDate getLocalDate(const int* offset) const;
    BqLocalTimeOfDay getLocalTimeOfDay(const int* offset) const;

    /// The sums stop at 4,294,967,295,000 (2106-02-07 06:28:15 UTC), which is also the most that is
    /// added or taken at a time; the differences stop at 0. The invalid time counts as -1. Of the
    /// milliseconds that seconds are, the lower 64 bits count.
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
    class UTILITIES_LOCAL Hold;
    struct UTILITIES_LOCAL Reading;
    UTILITIES_LOCAL static Reading Read(struct tm& working);
    UTILITIES_LOCAL static std::int32_t ReadAsGMT(const struct tm& record);

    /// Guards all calls of the system's calendar.
    UTILITIES_LOCAL static MutexLock tm_mutex;

    __int64 m_MilliSeconds = -1;
};

/// Writes the local time of day, a blank and the local date, each as the stream's locale has it;
/// the stream's width and fill act on the blank alone. The invalid time is "Invalid time".
UTILITIES_EXPORT std::ostream& operator<<(std::ostream& stream, const BqGMTime& instant);

#endif
