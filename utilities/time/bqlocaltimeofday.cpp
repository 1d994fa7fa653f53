#include "utilities/time/bqlocaltimeofday.h"

#include "utilities/time/counts_internal.h"
#include "utilities/time/output_internal.h"

void BqLocalTimeOfDay::addMilliSeconds(unsigned int milliseconds) {
    m_MilliSeconds = AddUpTo(m_MilliSeconds, milliseconds, platform::MILLISECONDS_A_DAY);
}

void BqLocalTimeOfDay::subMilliSeconds(unsigned int milliseconds) {
    m_MilliSeconds = SubtractDownToZero(m_MilliSeconds, milliseconds, platform::MILLISECONDS_A_DAY);
}

void BqLocalTimeOfDay::addSeconds(unsigned int seconds) { addMilliSeconds(seconds * A_SECOND); }
void BqLocalTimeOfDay::subSeconds(unsigned int seconds) { subMilliSeconds(seconds * A_SECOND); }
void BqLocalTimeOfDay::addMinutes(unsigned short minutes) { addMilliSeconds(minutes * A_MINUTE); }
void BqLocalTimeOfDay::subMinutes(unsigned short minutes) { subMilliSeconds(minutes * A_MINUTE); }
void BqLocalTimeOfDay::addHours(unsigned char hours) { addMilliSeconds(hours * AN_HOUR); }
void BqLocalTimeOfDay::subHours(unsigned char hours) { subMilliSeconds(hours * AN_HOUR); }

std::ostream& operator<<(std::ostream& stream, const BqLocalTimeOfDay& timeOfDay) {
    return PutFields(stream, timeOfDay.getMilliSeconds() / 1000, 'X');
}
