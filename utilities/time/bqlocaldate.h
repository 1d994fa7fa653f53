/// Calendar dates, ranges of them, and the days of the week.
#ifndef UTILITIES_TIME_BQLOCALDATE_H
#define UTILITIES_TIME_BQLOCALDATE_H

#include <ostream>

#include "utilities/frame/export.h"

/// The days of the week, as `tm_wday` numbers them. 255 stands for none.
enum VY_DAY_OF_WEEK : int {
    VY_DAY_OF_WEEK_SUNDAY = 0,
    VY_DAY_OF_WEEK_MONDAY = 1,
    VY_DAY_OF_WEEK_TUESDAY = 2,
    VY_DAY_OF_WEEK_WEDNESDAY = 3,
    VY_DAY_OF_WEEK_THURSDAY = 4,
    VY_DAY_OF_WEEK_FRIDAY = 5,
    VY_DAY_OF_WEEK_SATURDAY = 6,
};

/// The day's number in a week that starts with Monday, 0 to 6, and back. 255 is 255 in both. What
/// is none of these is reported on the standard error stream ("ASSERT(...)") and gives 255.
UTILITIES_EXPORT unsigned char VyDayOfWeekToN(const VY_DAY_OF_WEEK& VyDayOfWeek);
UTILITIES_EXPORT VY_DAY_OF_WEEK NToVyDayOfWeek(unsigned char day);

/// A date, as the number of days since 1970-01-01; it knows no zone. Dates from 1971 to 2037 can be
/// set, what lies before or behind is one date each, `MIN_DATE` and `MAX_DATE`.
///
/// A plain value without a lock: one object isn't for several threads at a time unless all only
/// read. The operations that convert take the time classes' mutex.
class UTILITIES_EXPORT BqLocalDate {
public:
    static const int MIN_DATE = 5;      ///< 1970-01-06, a Tuesday.
    static const int MAX_DATE = 24842;  ///< 2038-01-06, a Wednesday.

    /// 1970-01-01.
    BqLocalDate() = default;
    explicit BqLocalDate(int dayNumber) : m_DayNumber(dayNumber) {}

    int getDayNumber() const { return m_DayNumber; }

    /// Months and days count from 1. A year before 1971 gives `MIN_DATE`, one from 2038 on
    /// `MAX_DATE`. Day and month may be any number: the 31st of February 2001 is the 3rd of March.
    /// Where that leads out of what 32 bits of seconds hold, it is reported on the standard error
    /// stream and the date is one round 1970-01-01. Reads the process's zone anew.
    void set(unsigned char day, unsigned char month, unsigned short year);

    /// Stores the date's fields and its day of the week. `dayOfWeek` may be null, the others must
    /// not. Day numbers below 0 and above 24855 are reported and give the fields of `MIN_DATE`, and
    /// then `dayOfWeek` isn't stored.
    void get(unsigned short* year, unsigned char* month, unsigned char* day,
             VY_DAY_OF_WEEK* dayOfWeek) const;

    /// Sunday, after a report, for a day number below 0 or above 24855.
    VY_DAY_OF_WEEK getDayOfWeek() const;

    /// Whether the date is before 1971, or after 2037.
    bool IsMinDate() const;
    bool IsMaxDate() const;

    bool operator==(const BqLocalDate& other) const { return m_DayNumber == other.m_DayNumber; }
    bool operator!=(const BqLocalDate& other) const { return !(*this == other); }
    bool operator<(const BqLocalDate& other) const { return m_DayNumber < other.m_DayNumber; }
    bool operator>(const BqLocalDate& other) const { return other < *this; }
    bool operator<=(const BqLocalDate& other) const { return !(other < *this); }
    bool operator>=(const BqLocalDate& other) const { return !(*this < other); }

private:
    int m_DayNumber = 0;
};

/// Writes the date as the stream's locale has it (`%x`). Width and fill of the stream play no part
/// and stay. Nothing is written to a stream that isn't good, or whose locale has no
/// `time_put<char>`; a write that fails sets `failbit`. A day number below 0 or above 24855 is
/// reported and written as a record of zeros.
UTILITIES_EXPORT std::ostream& operator<<(std::ostream& stream, const BqLocalDate& date);

/// Two dates; what lies between them is for the user to tell.
class UTILITIES_EXPORT BqDateRange {
public:
    /// From 1970-01-01 to `MAX_DATE`.
    BqDateRange();
    BqDateRange(const BqLocalDate& start, const BqLocalDate& end) : m_Start(start), m_End(end) {}

    const BqLocalDate& getStart() const { return m_Start; }
    const BqLocalDate& getEnd() const { return m_End; }

    bool operator==(const BqDateRange& other) const;
    bool operator!=(const BqDateRange& other) const;

private:
    BqLocalDate m_Start;
    BqLocalDate m_End;
};

#endif
