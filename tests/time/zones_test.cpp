#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <ranges>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/zone.h"
#include "utilities/time/bqtime.h"

namespace {

constexpr int FIRST_DAY = 365, LAST_DAY = 24836;

constexpr char RULES[] =
    ": :Africa/Casablanca /usr/share/zoneinfo/Asia/Gaza EST5EDT CET-1CEST,M3.5.0,M10.5.0/3 "
    "NZST-12NZDT,M9.5.0,M4.1.0/3 <+0330>-3:30<+0430>,J59/24,J263/24 IST-1GMT0,M10.5.0,M3.5.0/1 "
    "<-02>2<-01>,M3.5.0/-1,M10.5.0/0 EET-2EEST,59,J60/167:59:59 HOM-14:15:16 "
    "abc-10:30def-11,M12.1.6/0,M1.5.0";

/// The names of all zones of the database.
std::vector<std::string> Zones() {
    std::vector<std::string> zones;
    std::ifstream database("/usr/share/zoneinfo/tzdata.zi");
    for (std::string line; std::getline(database, line);) {
        if (line.starts_with("Z "))
            zones.push_back(line.substr(2, line.find(' ', 2) - 2));
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
        if (!AreSame(fields, HostLocal(read)))
            return "the record of mktime";
        // The clocks can show the same at an earlier instant.
        if (read > seconds || std::memcmp(&fields, &local, 8 * sizeof(int)) != 0 ||
            (daylightSaving >= 0 && fields.tm_isdst != daylightSaving))
            return "mktime";
    }
    return "";
}

/// The instants at which a zone is looked at: one in four days, and all round each change.
std::vector<std::int32_t> Samples() {
    std::vector<std::int32_t> samples{FIRST_DAY * 86'400};
    for (std::int32_t day = FIRST_DAY; day <= LAST_DAY; day += 4) {
        const std::int32_t before = samples.back(), sample = day * 86'400 + day * 7919 % 86'400;
        const auto isAsBefore = [offset = HostLocal(before).tm_gmtoff](std::int32_t seconds) {
            return HostLocal(seconds).tm_gmtoff == offset;
        };
        if (!isAsBefore(sample)) {
            const auto between = std::views::iota(before, sample);
            const std::int32_t change = *std::ranges::partition_point(between, isAsBefore);
            for (const int away : {-7201, -3600, -1800, -1, 0, 1, 1799, 3599, 3600, 86'399})
                samples.push_back(change + away);
        }
        samples.push_back(sample);
    }
    return samples;
}

void CheckZones(const std::vector<std::string>& zones) {
    for (const std::string& name : zones) {
        SCOPED_TRACE(name);
        const ScopedZone zone(name.c_str());
        for (int day = FIRST_DAY; day <= LAST_DAY; ++day) {
            unsigned short year;
            unsigned char month, dayOfMonth;
            BqLocalDate(day).get(&year, &month, &dayOfMonth, nullptr);
            BqLocalDate date;
            date.set(dayOfMonth, month, year);
            ASSERT_EQ(date.getDayNumber(), day);
        }
        for (const std::int32_t seconds : Samples())
            ASSERT_EQ(FaultAt(seconds), "") << seconds;
    }
}

TEST(Zones, AllDatesAndInstantsAreRightByOtherTextsForAZone) {
    std::istringstream rules(RULES);
    std::vector<std::string> zones{std::istream_iterator<std::string>(rules), {}};
    zones.push_back("");
    CheckZones(zones);
}

TEST(Zones, AllDatesAndInstantsAreRightInEachZone) {
    const auto zones = Zones();
    ASSERT_GT(zones.size(), 300u);
    CheckZones(zones);
}

}  // namespace
