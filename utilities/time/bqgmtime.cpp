#include "utilities/time/bqgmtime.h"

#include "utilities/time/counts_internal.h"

namespace {

// Where sums stop: the milliseconds of the last second that 32 bits without a sign can count.
constexpr __int64 LAST = 0xFFFFFFFFLL * A_SECOND;

constexpr __int64 A_DAY = platform::MILLISECONDS_A_DAY;

using Amount = unsigned __int64;

/// What clocks show that are `*offset` milliseconds ahead of GMT, or the zone's own where `offset`
/// is null; in milliseconds since they showed the start of 1970.
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
void BqGMTime::addMinutes(unsigned int minutes) { addMilliSeconds(Amount{minutes} * A_MINUTE); }
void BqGMTime::subMinutes(unsigned int minutes) { subMilliSeconds(Amount{minutes} * A_MINUTE); }
void BqGMTime::addHours(unsigned int hours) { addMilliSeconds(Amount{hours} * AN_HOUR); }
void BqGMTime::subHours(unsigned int hours) { subMilliSeconds(Amount{hours} * AN_HOUR); }

std::ostream& operator<<(std::ostream& stream, const BqGMTime& instant) {
    if (!instant.isValid())
        return stream << "Invalid time";
    const BqLocalDate date = instant.getLocalDate(nullptr);
    const BqLocalTimeOfDay timeOfDay = instant.getLocalTimeOfDay(nullptr);
    return stream << timeOfDay << " " << date;
}
