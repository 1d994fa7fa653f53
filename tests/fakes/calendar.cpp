#include "tests/fakes/calendar.h"

#include "utilities/locks/registry_internal.h"
#include "utilities/platform/calendar.h"
#include "utilities/platform/currentthread.h"
#include "utilities/runtime/random.h"

namespace platform {

namespace {

using fakes::calendar;

tm record;
std::int32_t timezoneInUse;

auto Take(auto& list) {
    const auto first = list.front();
    if (list.size() > 1)
        list.erase(list.begin());
    return first;
}

/// A call that nothing keeps apart from others ends with '!'.
void Note(char call) {
    calendar.calls += call;
    if (MutexDbgList[0].Owner != GetCurrentThreadId())
        calendar.calls += '!';
}

const tm* Convert(char call, int daylight) {
    Note(call);
    if (calendar.changing != nullptr)
        ++*calendar.changing;
    record = {};
    record.tm_hour = Take(calendar.records);
    record.tm_isdst = daylight;
    return record.tm_hour != '-' ? &record : nullptr;
}

}  // namespace

std::int32_t time(std::int32_t* seconds) {
    if (seconds != nullptr)
        *seconds = calendar.now;
    return calendar.now;
}

const tm* localtime(const std::int32_t*) { return Convert('l', 1); }
const tm* gmtime(const std::int32_t*) { return Convert('g', calendar.gmDaylight); }

std::int32_t mktime(tm* fields) {
    Note(fields->tm_isdst == 0 ? 'm' : 'M');
    const std::int32_t seconds = Take(calendar.seconds);
    timezoneInUse = Take(calendar.zones);
    if (seconds != -1)
        fields->tm_min = 7;
    return seconds;
}

std::int32_t mktime(const tm& fields) {
    tm copy = fields;
    return platform::mktime(&copy);
}

void _tzset() { Note('z'); }
std::int32_t _timezone() { return timezoneInUse; }

}  // namespace platform

int runtime::rand() {
    fakes::calendar.calls += 'r';
    return platform::Take(fakes::calendar.randoms);
}

void runtime::srand(unsigned int seed) {
    fakes::calendar.calls += "s" + std::to_string(static_cast<int>(seed));
}
