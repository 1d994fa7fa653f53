#include "utilities/time/bqlocaltimeofday.h"

#include "utilities/time/counts_internal.h"

namespace {

constexpr int END_OF_DAY = 86'400'000;
constexpr unsigned int A_SECOND = 1000;
constexpr unsigned int A_MINUTE = 60 * A_SECOND;
constexpr unsigned int AN_HOUR = 60 * A_MINUTE;

}  // namespace

void BqLocalTimeOfDay::addMilliSeconds(unsigned int milliseconds) {
    m_MilliSeconds = AddUpTo(m_MilliSeconds, milliseconds, END_OF_DAY);
}

void BqLocalTimeOfDay::subMilliSeconds(unsigned int milliseconds) {
    m_MilliSeconds = SubtractDownToZero(m_MilliSeconds, milliseconds, END_OF_DAY);
}

void BqLocalTimeOfDay::addSeconds(unsigned int seconds) { addMilliSeconds(seconds * A_SECOND); }
void BqLocalTimeOfDay::subSeconds(unsigned int seconds) { subMilliSeconds(seconds * A_SECOND); }
void BqLocalTimeOfDay::addMinutes(unsigned short minutes) { addMilliSeconds(minutes * A_MINUTE); }
void BqLocalTimeOfDay::subMinutes(unsigned short minutes) { subMilliSeconds(minutes * A_MINUTE); }
void BqLocalTimeOfDay::addHours(unsigned char hours) { addMilliSeconds(hours * AN_HOUR); }
void BqLocalTimeOfDay::subHours(unsigned char hours) { subMilliSeconds(hours * AN_HOUR); }
