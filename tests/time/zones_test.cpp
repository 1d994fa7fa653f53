#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "tests/support/zone.h"
#include "utilities/time/bqtime.h"

namespace {

constexpr int FIRST_DAY = 365, LAST_DAY = 24836;

/// A name for each different zone of the database, by its content.
std::map<std::string, std::string> Zones() {
    const std::filesystem::path folder = "/usr/share/zoneinfo";
    std::map<std::string, std::string> zones;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (!entry.is_regular_file())
            continue;
        std::ifstream file(entry.path(), std::ios::binary);
        const std::string content{std::istreambuf_iterator<char>(file), {}};
        const std::string name = entry.path().lexically_relative(folder);
        if (content.rfind("TZif", 0) == 0 && name.rfind("right/", 0) != 0)
            zones.emplace(content, name);
    }
    return zones;
}

bool AreSame(const struct tm& a, const struct tm& b) {
    return std::memcmp(&a, &b, 9 * sizeof(int)) == 0 && a.tm_gmtoff == b.tm_gmtoff &&
           std::strcmp(a.tm_zone, b.tm_zone) == 0;
}

struct tm HostLocal(std::time_t seconds) {
    struct tm record;
    localtime_r(&seconds, &record);
    return record;
}

/// What is wrong with the conversions of an instant, empty if nothing is.
std::string FaultAt(std::int32_t seconds) {
    const struct tm local = BqGMTime::localtime(&seconds, nullptr), host = HostLocal(seconds);
    if (!AreSame(local, host))
        return "localtime";
    bool daylight = host.tm_isdst == 0;
    const BqGMTime instant(seconds * 1000LL);
    if (BqGMTime::getLocalTimeMsecOffset(instant, &daylight) != host.tm_gmtoff * 1000 ||
        daylight != (host.tm_isdst != 0))
        return "getLocalTimeMsecOffset";
    struct tm gmt = BqGMTime::gmtime(&seconds, nullptr);
    if (BqGMTime::timegm(&gmt) != seconds)
        return "timegm";
    for (const int daylightSaving : {host.tm_isdst, -1}) {
        struct tm fields = local;
        fields.tm_isdst = daylightSaving;
        const std::int32_t read = BqGMTime::mktime(&fields, true, nullptr);
        struct tm again = HostLocal(read);
        if (daylightSaving < 0)
            again.tm_isdst = local.tm_isdst;  // the other one of a repeated hour
        if (read != seconds && (std::memcmp(&again, &local, 8 * sizeof(int)) != 0 ||
                                again.tm_isdst != local.tm_isdst || read > seconds))
            return "mktime";
        if (!AreSame(fields, HostLocal(read)))
            return "the record of mktime";
    }
    return "";
}

/// The first second after `from` that has the clocks of `to`, between which they change once.
std::int32_t ChangeBetween(std::int32_t from, std::int32_t to) {
    const long offset = HostLocal(from).tm_gmtoff;
    while (to - from > 1) {
        const std::int32_t middle = from + (to - from) / 2;
        (HostLocal(middle).tm_gmtoff == offset ? from : to) = middle;
    }
    return to;
}

/// The instants at which a zone is looked at: one in four days, and all round each change.
std::vector<std::int32_t> Samples() {
    std::vector<std::int32_t> samples;
    std::int32_t before = FIRST_DAY * 86'400;
    for (std::int32_t day = FIRST_DAY; day <= LAST_DAY; day += 4) {
        const std::int32_t sample = day * 86'400 + day * 7919 % 86'400;
        samples.push_back(sample);
        if (HostLocal(sample).tm_gmtoff != HostLocal(before).tm_gmtoff) {
            const std::int32_t change = ChangeBetween(before, sample);
            for (const int away :
                 {-14'400, -7201, -3600, -1800, -1, 0, 1, 1799, 3599, 3600, 86'399})
                samples.push_back(change + away);
        }
        before = sample;
    }
    return samples;
}

/// All dates that can be set, as the standard library counts them.
void CheckDates() {
    for (int day = FIRST_DAY; day <= LAST_DAY; ++day) {
        const std::chrono::year_month_day expected{std::chrono::sys_days{std::chrono::days{day}}};
        const auto year = static_cast<unsigned short>(static_cast<int>(expected.year()));
        const auto month = static_cast<unsigned char>(static_cast<unsigned>(expected.month()));
        const auto dayOfMonth = static_cast<unsigned char>(static_cast<unsigned>(expected.day()));
        BqLocalDate date;
        date.set(dayOfMonth, month, year);
        ASSERT_EQ(date.getDayNumber(), day);
        unsigned short readYear;
        unsigned char readMonth, readDay;
        date.get(&readYear, &readMonth, &readDay, nullptr);
        ASSERT_EQ(std::tuple(readYear, readMonth, readDay), std::tuple(year, month, dayOfMonth));
    }
}

TEST(Zones, AllDatesAndInstantsAreRightInEachZone) {
    const auto zones = Zones();
    ASSERT_GT(zones.size(), 300u);
    for (const auto& [content, name] : zones) {
        SCOPED_TRACE(name);
        const ScopedZone zone(name.c_str());
        ASSERT_NO_FATAL_FAILURE(CheckDates());
        for (const std::int32_t seconds : Samples())
            ASSERT_EQ(FaultAt(seconds), "") << seconds;
    }
}

}  // namespace
