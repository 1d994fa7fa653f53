#include "utilities/time/bqgmtime.h"

#include <tuple>

#include "utilities/frame/assert_internal.h"
#include "utilities/frame/debugline.h"
#include "utilities/locks/scopedlock_internal.h"
#include "utilities/platform/calendar.h"
#include "utilities/time/counts_internal.h"

namespace {

constexpr char ASSERT_MODULE[] = ".\\BqTime";

constexpr int MOST_RETRIES = 5;

auto Fields(const struct tm& record) {
    return std::tie(record.tm_sec, record.tm_min, record.tm_hour, record.tm_mday, record.tm_mon,
                    record.tm_year, record.tm_wday, record.tm_yday, record.tm_isdst);
}

/// The result of `mktime`, and the standard time that it read the fields with.
struct Reading {
    std::int32_t seconds;
    std::int32_t zone;
    bool success;
};

// The caller of the following functions holds the mutex: they use what the platform's calendar
// keeps from one call to the next, and the zone belongs to the conversion before it.

struct tm LocalTime(const std::int32_t* time, bool* success) {
    const std::int32_t nCopyOfTime = *time;
    const struct tm* converted = platform::localtime(&nCopyOfTime);
    ASSERT(nCopyOfTime == *time);
    struct tm result {};
    int retries = 0;
    if (converted == nullptr)
        ASSERT(false);
    while (converted != nullptr && retries < MOST_RETRIES) {
        result = *converted;
        converted = platform::localtime(&nCopyOfTime);
        if (converted != nullptr && Fields(result) == Fields(*converted))
            break;
        retries += converted != nullptr ? 1 : 0;
    }
    if (success != nullptr)
        *success = converted != nullptr;
    if (retries > 1)
        printFmtDBGFile("BqGMTime::tm_mutex needs %d retries for time conversion", retries - 1);
    return result;
}

struct tm GMTime(const std::int32_t* time, bool* success) {
    const std::int32_t nCopyOfTime = *time;
    const struct tm* const converted = platform::gmtime(&nCopyOfTime);
    ASSERT(nCopyOfTime == *time);
    struct tm result {};
    if (converted != nullptr)
        result = *converted;
    else
        ASSERT(false);
    if (success != nullptr)
        *success = converted != nullptr;
    return result;
}

// What a `mktime` came to that returned `seconds`. One that failed is made again, for a cleared
// record, which is stored in `working` as well unless that is null.
Reading ReadingOf(std::int32_t seconds, struct tm* working) {
    const std::int32_t zone = platform::_timezone();
    if (seconds != -1)
        return {seconds, zone, true};
    struct tm cleared {};
    const std::int32_t secondResult = platform::mktime(&cleared);
    if (working != nullptr)
        *working = cleared;
    ASSERT(false);
    return {secondResult, zone, false};
}

// A zone can change its standard time, so that two results of `mktime` are counted from different
// ones. Their difference is right only if each is first counted from GMT.
std::int32_t ReadAsGMT(const struct tm& record) {
    const Reading reading = ReadingOf(platform::mktime(record), nullptr);
    return WrappedDifference(reading.seconds, reading.zone);
}

}  // namespace

std::int32_t BqGMTime::time(std::int32_t* seconds) { return platform::time(seconds); }

BqGMTime BqGMTime::getCurrentTime() {
    const ScopedLock lock(tm_mutex);
    const std::int32_t seconds = platform::time(nullptr);
    return BqGMTime(seconds == -1 ? 0LL : seconds * 1000LL);
}

struct tm BqGMTime::localtime(const std::int32_t* time, bool* success) {
    const ScopedLock lock(tm_mutex);
    return LocalTime(time, success);
}

struct tm BqGMTime::gmtime(const std::int32_t* time, bool* success) {
    const ScopedLock lock(tm_mutex);
    return GMTime(time, success);
}

std::int32_t BqGMTime::mktime(struct tm* record, bool writeBack, bool* success) {
    const ScopedLock lock(tm_mutex);
    struct tm working = *record;
    const Reading reading = writeBack ? ReadingOf(platform::mktime(&working), &working)
                                      : ReadingOf(platform::mktime(working), nullptr);
    if (writeBack)
        *record = working;
    if (success != nullptr)
        *success = reading.success;
    return reading.seconds;
}

std::int32_t BqGMTime::timegm(struct tm* record) {
    const ScopedLock lock(tm_mutex);
    platform::_tzset();
    return ReadAsGMT(*record);
}

int BqGMTime::getLocalTimeMsecOffset(const BqGMTime& instant, bool* isDaylight) {
    if (!instant.isValid() || instant.m_MilliSeconds == 0)
        return 0;
    const auto seconds = static_cast<std::int32_t>(instant.m_MilliSeconds / 1000);
    // One hold for all four conversions: a mutex costs as much as one of them.
    const ScopedLock lock(tm_mutex);
    const struct tm gmTime = GMTime(&seconds, nullptr);
    ASSERT(0 == gmTime.tm_isdst);
    struct tm localTime = LocalTime(&seconds, nullptr);
    if (isDaylight != nullptr)
        *isDaylight = localTime.tm_isdst != 0;
    localTime.tm_isdst = 0;
    const std::int32_t local = ReadAsGMT(localTime);
    const std::int32_t difference = WrappedDifference(local, ReadAsGMT(gmTime));
    return static_cast<int>(static_cast<std::uint32_t>(difference) * 1000u);
}
