/// The time of day that a clock shows.
#ifndef UTILITIES_TIME_BQLOCALTIMEOFDAY_H
#define UTILITIES_TIME_BQLOCALTIMEOFDAY_H

#include <ostream>

#include "utilities/frame/export.h"

/// Milliseconds since midnight, of no particular date or zone. A plain value without a lock: one
/// object isn't for several threads at a time unless all only read.
///
/// Sums and differences stop at both ends of the day, the upper of which is the midnight that ends
/// it, 86,400,000; nothing carries into a date.
class UTILITIES_EXPORT BqLocalTimeOfDay {
public:
    /// Midnight.
    BqLocalTimeOfDay() = default;

    /// Any number; a negative one comes of instants just before 1970.
    explicit BqLocalTimeOfDay(int milliseconds) : m_MilliSeconds(milliseconds) {}

    int getMilliSeconds() const { return m_MilliSeconds; }

    void addMilliSeconds(unsigned int milliseconds);
    void subMilliSeconds(unsigned int milliseconds);

    /// Of the milliseconds that `seconds` are, the lower 32 bits count.
    void addSeconds(unsigned int seconds);
    void subSeconds(unsigned int seconds);

    void addMinutes(unsigned short minutes);
    void subMinutes(unsigned short minutes);
    void addHours(unsigned char hours);
    void subHours(unsigned char hours);

    bool operator==(const BqLocalTimeOfDay& other) const {
        return m_MilliSeconds == other.m_MilliSeconds;
    }
    bool operator!=(const BqLocalTimeOfDay& other) const { return !(*this == other); }
    bool operator<(const BqLocalTimeOfDay& other) const {
        return m_MilliSeconds < other.m_MilliSeconds;
    }
    bool operator>(const BqLocalTimeOfDay& other) const { return other < *this; }
    bool operator<=(const BqLocalTimeOfDay& other) const { return !(other < *this); }
    bool operator>=(const BqLocalTimeOfDay& other) const { return !(*this < other); }

private:
    int m_MilliSeconds = 0;
};

/// Writes the time of day as the stream's locale has it (`%X`), to the whole second; the end of the
/// day is written as its start. Width and fill of the stream play no part and stay. Nothing is
/// written to a stream that isn't good, or whose locale has no `time_put<char>`; a write that fails
/// sets `failbit`. A negative time is written as 00:00:00, from -1000 on down after a report.
UTILITIES_EXPORT std::ostream& operator<<(std::ostream& stream, const BqLocalTimeOfDay& timeOfDay);

#endif
