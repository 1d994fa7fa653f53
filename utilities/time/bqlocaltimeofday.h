/// The time of day that a clock shows.
#ifndef UTILITIES_TIME_BQLOCALTIMEOFDAY_H
#define UTILITIES_TIME_BQLOCALTIMEOFDAY_H

#include <ostream>

#include "utilities/frame/export.h"

/// Milliseconds since midnight, of no particular date or zone. A plain value without a lock:
/// several threads may use one object at a time only if all of them only read it.
class UTILITIES_EXPORT BqLocalTimeOfDay {
public:
    /// Midnight.
    BqLocalTimeOfDay() = default;

    /// Any number of milliseconds. Negative ones occur where clocks show a time before 1970.
    explicit BqLocalTimeOfDay(int milliseconds) : m_MilliSeconds(milliseconds) {}

    int getMilliSeconds() const { return m_MilliSeconds; }

    /// Adds to the time of day, or subtracts from it. A sum stops at 86,400,000, the midnight that
    /// ends the day, and a difference at 0; nothing carries into a date. Only the lower 32 bits of
    /// the milliseconds of `seconds` count, so that 4,294,968 seconds and more wrap.
    void addMilliSeconds(unsigned int milliseconds);
    void subMilliSeconds(unsigned int milliseconds);
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

/// Writes the time of day as the stream's locale has it (`%X`), without the milliseconds. The
/// midnight that ends the day is written as 00:00:00, and so are negative times, those from -1000
/// on down after a report on the standard error stream. The stream's width and fill have no effect
/// and are not reset. Nothing is written to a stream that isn't good, or whose locale has no
/// `time_put<char>`; a write that fails sets `failbit`.
UTILITIES_EXPORT std::ostream& operator<<(std::ostream& stream, const BqLocalTimeOfDay& timeOfDay);

#endif
