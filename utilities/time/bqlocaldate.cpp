#include "utilities/time/bqlocaldate.h"

#include <algorithm>
#include <cstdint>
#include <ctime>

#include "utilities/frame/assert_internal.h"
#include "utilities/time/bqgmtime.h"
#include "utilities/time/counts_internal.h"
#include "utilities/time/output_internal.h"

namespace {

constexpr char ASSERT_MODULE[] = ".\\BqTime";

constexpr int NO_DAY_OF_WEEK = 255;
constexpr int FIRST_DAY_OF_1971 = 365;
constexpr int LAST_DAY_OF_2037 = 24836;

/// The one date for all that lie before 1971, or after 2037.
struct {
    unsigned char day, month;
    unsigned short firstYear, lastYear;
} constexpr COLLAPSED{6, 1, 1970, 2038};

}  // namespace

const int BqLocalDate::MIN_DATE;
const int BqLocalDate::MAX_DATE;

unsigned char VyDayOfWeekToN(const VY_DAY_OF_WEEK& VyDayOfWeek) {
    if (VyDayOfWeek == NO_DAY_OF_WEEK)
        return NO_DAY_OF_WEEK;
    const bool isDay =
        VyDayOfWeek >= VY_DAY_OF_WEEK_SUNDAY && VyDayOfWeek <= VY_DAY_OF_WEEK_SATURDAY;
    ASSERT(VyDayOfWeek >= VY_DAY_OF_WEEK_SUNDAY && VyDayOfWeek <= VY_DAY_OF_WEEK_SATURDAY);
    return static_cast<unsigned char>(isDay ? (VyDayOfWeek + 6) % 7 : NO_DAY_OF_WEEK);
}

VY_DAY_OF_WEEK NToVyDayOfWeek(unsigned char day) {
    const int nDayOfWeek = day;  // as the report names it
    if (nDayOfWeek == NO_DAY_OF_WEEK)
        return static_cast<VY_DAY_OF_WEEK>(NO_DAY_OF_WEEK);
    ASSERT(nDayOfWeek >= 0 && nDayOfWeek <= 6);
    return static_cast<VY_DAY_OF_WEEK>(nDayOfWeek <= 6 ? (nDayOfWeek + 1) % 7 : NO_DAY_OF_WEEK);
}

void BqLocalDate::set(unsigned char day, unsigned char month, unsigned short year) {
    const bool isCollapsed = year <= COLLAPSED.firstYear || year >= COLLAPSED.lastYear;
    struct tm record {};
    record.tm_mday = isCollapsed ? COLLAPSED.day : day;
    record.tm_mon = (isCollapsed ? COLLAPSED.month : month) - 1;
    record.tm_year = std::clamp(year, COLLAPSED.firstYear, COLLAPSED.lastYear) - 1900;
    m_DayNumber = BqGMTime::timegm(&record) / platform::SECONDS_A_DAY;
}

void BqLocalDate::get(unsigned short* year, unsigned char* month, unsigned char* day,
                      VY_DAY_OF_WEEK* dayOfWeek) const {
    const std::int32_t seconds = SecondsOfDay(m_DayNumber);
    bool success = false;
    const struct tm record = BqGMTime::gmtime(&seconds, &success);
    if (!success) {
        ASSERT(false);
        *year = COLLAPSED.firstYear;
        *month = COLLAPSED.month;
        *day = COLLAPSED.day;
        return;
    }
    *year = static_cast<unsigned short>(record.tm_year + 1900);
    *month = static_cast<unsigned char>(record.tm_mon + 1);
    *day = static_cast<unsigned char>(record.tm_mday);
    if (dayOfWeek != nullptr)
        *dayOfWeek = static_cast<VY_DAY_OF_WEEK>(record.tm_wday);
}

VY_DAY_OF_WEEK BqLocalDate::getDayOfWeek() const {
    const std::int32_t seconds = SecondsOfDay(m_DayNumber);
    return static_cast<VY_DAY_OF_WEEK>(BqGMTime::gmtime(&seconds, nullptr).tm_wday);
}

bool BqLocalDate::IsMinDate() const { return m_DayNumber < FIRST_DAY_OF_1971; }
bool BqLocalDate::IsMaxDate() const { return m_DayNumber > LAST_DAY_OF_2037; }

std::ostream& operator<<(std::ostream& stream, const BqLocalDate& date) {
    return PutFields(stream, SecondsOfDay(date.getDayNumber()), 'x');
}

BqDateRange::BqDateRange() : m_End(BqLocalDate::MAX_DATE) {}

bool BqDateRange::operator==(const BqDateRange& other) const {
    return m_Start == other.m_Start && m_End == other.m_End;
}

bool BqDateRange::operator!=(const BqDateRange& other) const { return !(*this == other); }
