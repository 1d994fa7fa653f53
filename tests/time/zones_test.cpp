#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/platform_zone.h"
#include "tests/support/zone.h"
#include "utilities/time/bqtime.h"

namespace {

constexpr int FIRST_DAY = 365, LAST_DAY = 24836;

constexpr char OTHER_ZONES[] =
    ": :Africa/Casablanca /usr/share/zoneinfo/Asia/Gaza EST5EDT CET-1CEST,M3.5.0,M10.5.0/3 "
    "NZST-12NZDT,M9.5.0,M4.1.0/3 <+0330>-3:30<+0430>,J59/24,J263/24 IST-1GMT0,M10.5.0,M3.5.0/1 "
    "<-02>2<-01>,M3.5.0/-1,M10.5.0/0 EET-2EEST,59,J60/167:59:59 HOM-14:15:16 "
    "abc-10:30def-11,M12.1.6/0,M1.5.0 EST25 EST5:60:99 EST5EDT4:60,M3.2.0,M11.1.0 EST5EDT-,M3.2.0 "
    "EST5EDT4M3.2.0,M11.1.0, EST5EDT99,M3.2.0/168,M11.1.0/2:60 <+a-1>5<x+0>,J1/00,J200/999";

/// The names of all zones of the database, and others.
std::vector<std::string> Zones() {
    std::istringstream others(OTHER_ZONES);
    std::vector<std::string> zones{std::istream_iterator<std::string>(others), {}};
    zones.push_back("");
    std::ifstream database("/usr/share/zoneinfo/tzdata.zi");
    for (std::string line; std::getline(database, line);) {
        if (line.starts_with("Z "))
            zones.push_back(line.substr(2, line.find(' ', 2) - 2));
    }
    return zones;
}

struct tm HostLocal(std::time_t seconds) {
    struct tm record;
    localtime_r(&seconds, &record);
    return record;
}

/// What is wrong with the conversions of an instant, empty if nothing is.
std::string FaultAt(std::int32_t seconds) {
    const struct tm local = BqGMTime::localtime(&seconds, nullptr), host = HostLocal(seconds);
    if (std::memcmp(&local, &host, 9 * sizeof(int)) != 0 || local.tm_gmtoff != host.tm_gmtoff ||
        std::strcmp(local.tm_zone, host.tm_zone) != 0)
        return "the fields";
    bool daylight = host.tm_isdst == 0;
    const BqGMTime instant(seconds * 1000LL);
    if (BqGMTime::getLocalTimeMsecOffset(instant, &daylight) != host.tm_gmtoff * 1000 ||
        daylight != (host.tm_isdst != 0))
        return "getLocalTimeMsecOffset";
    struct tm gmt = BqGMTime::gmtime(&seconds, nullptr);
    if (BqGMTime::timegm(&gmt) != seconds)
        return "timegm";
    return ConversionFault(seconds);
}

/// The instants at which a zone is checked: one every four days, and those around each change.
std::vector<std::int32_t> Samples() {
    std::vector<std::int32_t> samples{FIRST_DAY * platform::SECONDS_A_DAY};
    for (std::int32_t day = FIRST_DAY; day <= LAST_DAY; day += 4) {
        const std::int32_t before = samples.back(), sample = day * platform::SECONDS_A_DAY +
                                                             day * 7919 % platform::SECONDS_A_DAY;
        const auto isAsBefore = [offset = HostLocal(before).tm_gmtoff](std::int32_t seconds) {
            return HostLocal(seconds).tm_gmtoff == offset;
        };
        if (!isAsBefore(sample)) {
            std::int32_t change = sample;
            for (std::int32_t last = before; change - last > 1;) {
                const std::int32_t middle = last + (change - last) / 2;
                (isAsBefore(middle) ? last : change) = middle;
            }
            for (const int away : {-7201, -3600, -1800, -1, 0, 1, 1799, 3599, 3600, 86'399})
                samples.push_back(change + away);
        }
        samples.push_back(sample);
    }
    return samples;
}

TEST(Zones, AllDatesAndInstantsAreRight) {
    const auto zones = Zones();
    ASSERT_GT(zones.size(), 300u);
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

}  // namespace
