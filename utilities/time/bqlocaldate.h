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

/// Returns the day's number in a week that starts with Monday: 0 to 6, and 255 for 255. Any other
/// value is reported on the standard error stream ("ASSERT(...)") and returns 255.
UTILITIES_EXPORT unsigned char VyDayOfWeekToN(const VY_DAY_OF_WEEK& VyDayOfWeek);

/// The inverse of `VyDayOfWeekToN`, with the same results for 255 and for other numbers.
UTILITIES_EXPORT VY_DAY_OF_WEEK NToVyDayOfWeek(unsigned char day);

/// A date, held as the number of days since 1970-01-01. It knows no zone. Dates from 1971 to 2037
/// can be set; all earlier ones become `MIN_DATE`, all later ones `MAX_DATE`.
///
/// A plain value without a lock: several threads may use one object at a time only if all of them
/// only read it.
///
/// Conversions to a year, month and day count a day's seconds in 32 bits. Day numbers from 0 to
/// 24855 (2038-01-19) are right. Those from 24856 to 49710 and from -24855 to -1 fail: each
/// conversion is reported on the standard error stream. Those beyond are not reported, but taken
/// for another day: 49711 is 1970-01-01 again.
class UTILITIES_EXPORT BqLocalDate {
public:
    static const int MIN_DATE = 5;      ///< 1970-01-06, a Tuesday.
    static const int MAX_DATE = 24842;  ///< 2038-01-06, a Wednesday.

    /// 1970-01-01.
    BqLocalDate() = default;
    explicit BqLocalDate(int dayNumber) : m_DayNumber(dayNumber) {}

    int getDayNumber() const { return m_DayNumber; }

    /// Sets the date. Months and days count from 1, and the year has four digits. A year before
    /// 1971 sets `MIN_DATE`, one from 2038 on `MAX_DATE`. Day and month may be any number: February
    /// 31, 2001 is March 3. Where they lead beyond the seconds that 32 bits hold, on 2038-01-19,
    /// that is reported on the standard error stream, and the date becomes 1970-01-01 or a day next
    /// to it. Reads the process's zone anew.
    void set(unsigned char day, unsigned char month, unsigned short year);

    /// Stores the date's fields and its day of the week. `dayOfWeek` may be null, the others must
    /// not. Where the conversion fails, two reports are written, the fields are those of
    /// `MIN_DATE`, and the day of the week isn't stored.
    void get(unsigned short* year, unsigned char* month, unsigned char* day,
             VY_DAY_OF_WEEK* dayOfWeek) const;

    /// The day of the week. Sunday, after a report, where the conversion fails.
    VY_DAY_OF_WEEK getDayOfWeek() const;

    /// Whether the date is before 1971; true for all dates that `set` turns into `MIN_DATE`.
    bool IsMinDate() const;

    /// Whether the date is after 2037; true for all dates that `set` turns into `MAX_DATE`.
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

/// Writes the date as the stream's locale has it (`%x`). The stream's width and fill have no effect
/// and are not reset. Nothing is written to a stream that isn't good, or whose locale has no
/// `time_put<char>`; a write that fails sets `failbit`. A date whose conversion fails is written as
/// a record of zeros after a report, 01/00/00 in the classic locale.
UTILITIES_EXPORT std::ostream& operator<<(std::ostream& stream, const BqLocalDate& date);

/// Two dates. Whether the end belongs to the range is for its user to decide.
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
