#include <tuple>

#include "utilities/frame/assert_internal.h"
#include "utilities/frame/debugline.h"
#include "utilities/locks/lockobj.h"
#include "utilities/platform/calendar.h"
#include "utilities/platform/threads.h"
#include "utilities/time/bqgmtime.h"
#include "utilities/time/counts_internal.h"

namespace {

constexpr char ASSERT_MODULE[] = ".\\BqTime";

constexpr int MOST_RETRIES = 5;

auto Fields(const struct tm& record) {
    return std::tie(record.tm_sec, record.tm_min, record.tm_hour, record.tm_mday, record.tm_mon,
                    record.tm_year, record.tm_wday, record.tm_yday, record.tm_isdst);
}

}  // namespace

/// For as long as the calendar is in use. The thread is neither killed nor suspended meanwhile:
/// nobody would convert a time again.
class BqGMTime::Hold {
public:
    Hold() { tm_mutex.Lock(); }
    ~Hold() { tm_mutex.Unlock(); }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

private:
    platform::HoldOff holdOff;
};

/// What fields mean, and the standard time with which they were read.
struct BqGMTime::Reading {
    std::int32_t seconds;
    std::int32_t zone;
    bool success;
};

std::int32_t BqGMTime::time(std::int32_t* seconds) { return platform::time(seconds); }

BqGMTime BqGMTime::getCurrentTime() {
    const Hold hold;
    const std::int32_t seconds = platform::time(nullptr);
    return BqGMTime(seconds == -1 ? 0LL : seconds * 1000LL);
}

struct tm BqGMTime::localtime(const std::int32_t* time, bool* success) {
    const Hold hold;
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

struct tm BqGMTime::gmtime(const std::int32_t* time, bool* success) {
    const Hold hold;
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

// Whoever uses the result together with the zone that it was read with calls this and that under
// one hold.
BqGMTime::Reading BqGMTime::Read(struct tm& working) {
    const std::int32_t seconds = platform::mktime(&working);
    const std::int32_t zone = platform::_timezone();
    if (seconds != -1)
        return {seconds, zone, true};
    working = {};
    const std::int32_t secondResult = platform::mktime(&working);
    ASSERT(false);
    return {secondResult, zone, false};
}

std::int32_t BqGMTime::mktime(struct tm* record, bool writeBack, bool* success) {
    const Hold hold;
    struct tm working = *record;
    const Reading reading = Read(working);
    if (writeBack)
        *record = working;
    if (success != nullptr)
        *success = reading.success;
    return reading.seconds;
}

/// Both ends of a difference are counted from GMT: a zone can have changed its standard time, so
/// that the two would be counted from different ones.
std::int32_t BqGMTime::ReadAsGMT(const struct tm& record) {
    const Hold hold;
    struct tm working = record;
    const Reading reading = Read(working);
    return WrappedDifference(reading.seconds, reading.zone);
}

std::int32_t BqGMTime::timegm(struct tm* record) {
    const Hold hold;
    platform::_tzset();
    return ReadAsGMT(*record);
}

int BqGMTime::getLocalTimeMsecOffset(const BqGMTime& instant, bool* isDaylight) {
    if (!instant.isValid() || instant.m_MilliSeconds == 0)
        return 0;
    const auto seconds = static_cast<std::int32_t>(instant.m_MilliSeconds / 1000);
    const struct tm gmTime = gmtime(&seconds, nullptr);
    ASSERT(0 == gmTime.tm_isdst);
    struct tm localTime = localtime(&seconds, nullptr);
    if (isDaylight != nullptr)
        *isDaylight = localTime.tm_isdst != 0;
    localTime.tm_isdst = 0;
    const std::int32_t local = ReadAsGMT(localTime);
    const std::int32_t difference = WrappedDifference(local, ReadAsGMT(gmTime));
    return static_cast<int>(static_cast<std::uint32_t>(difference) * 1000u);
}
