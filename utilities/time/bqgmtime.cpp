#include "utilities/time/bqgmtime.h"

#include "utilities/time/counts_internal.h"

namespace {

constexpr __int64 LAST = 4'294'967'295'000;
constexpr unsigned __int64 A_SECOND = 1000;
constexpr unsigned __int64 A_MINUTE = 60 * A_SECOND;
constexpr unsigned __int64 AN_HOUR = 60 * A_MINUTE;
constexpr __int64 A_DAY = 86'400'000;

__int64 ShownBy(const BqGMTime& instant, const int* offset) {
    if (!instant.isValid())
        return 0;
    const int ahead =
        offset != nullptr ? *offset : BqGMTime::getLocalTimeMsecOffset(instant, nullptr);
    return WrappedSum<__int64>(instant.getMilliSeconds(), ahead);
}

}  // namespace

BqGMTime::BqGMTime() = default;

BqGMTime::BqGMTime(const BqLocalTimeOfDay& timeOfDay, const BqLocalDate& date, bool local)
    : m_MilliSeconds(date.getDayNumber() * A_DAY + timeOfDay.getMilliSeconds()) {
    if (local)
        m_MilliSeconds -= getLocalTimeMsecOffset(*this, nullptr);
}

BqLocalDate BqGMTime::getLocalDate(const int* offset) const {
    return BqLocalDate(static_cast<int>(ShownBy(*this, offset) / A_DAY));
}

BqLocalTimeOfDay BqGMTime::getLocalTimeOfDay(const int* offset) const {
    return BqLocalTimeOfDay(static_cast<int>(ShownBy(*this, offset) % A_DAY));
}

void BqGMTime::addMilliSeconds(const unsigned __int64& milliseconds) {
    m_MilliSeconds = AddUpTo(m_MilliSeconds, milliseconds, LAST);
}

void BqGMTime::subMilliSeconds(const unsigned __int64& milliseconds) {
    m_MilliSeconds = SubtractDownToZero(m_MilliSeconds, milliseconds, LAST);
}

void BqGMTime::addSeconds(const unsigned __int64& seconds) { addMilliSeconds(seconds * A_SECOND); }
void BqGMTime::subSeconds(const unsigned __int64& seconds) { subMilliSeconds(seconds * A_SECOND); }
void BqGMTime::addMinutes(unsigned int minutes) { addMilliSeconds(minutes * A_MINUTE); }
void BqGMTime::subMinutes(unsigned int minutes) { subMilliSeconds(minutes * A_MINUTE); }
void BqGMTime::addHours(unsigned int hours) { addMilliSeconds(hours * AN_HOUR); }
void BqGMTime::subHours(unsigned int hours) { subMilliSeconds(hours * AN_HOUR); }
