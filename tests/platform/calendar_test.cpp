#include "utilities/platform/calendar.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "utilities/platform/linux/zonefile.h"

namespace {

using platform::Zone;

void SetZone(const char* name) {
    name != nullptr ? setenv("TZ", name, 1) : unsetenv("TZ");
    tzset();
    platform::_tzset();
}

/// The first instant of a few thousand that isn't as the C library has it, -1 for none.
std::int32_t FirstDifferenceFromHost() {
    for (std::int32_t seconds = 5; seconds < 0x7FFF0000; seconds += 0xFFFF) {
        const std::time_t wide = seconds;
        struct tm host;
        localtime_r(&wide, &host);
        const struct tm* const own = platform::localtime(&seconds);
        if (own->tm_gmtoff != host.tm_gmtoff || own->tm_isdst != host.tm_isdst ||
            own->tm_mday != host.tm_mday || std::string(own->tm_zone) != host.tm_zone)
            return seconds;
    }
    return -1;
}

TEST(Calendar, ReadsRulesAndFilesAsTheCLibraryDoes) {
    for (const char* name :
         {"CET-1CEST,M3.5.0,M10.5.0/3", "EST5EDT", "NZST-12NZDT,M9.5.0,M4.1.0/3",
          "<+0330>-3:30<+0430>,J79/24,J263/24", "<-02>2<-01>,M3.5.0/-1,M10.5.0/0",
          "IST-1GMT0,M10.5.0,M3.5.0/1", "EET-2EEST,59,J60/167:59:59", "UTC0", "HOM-14:15:16",
          "Europe/Berlin", ":Africa/Casablanca", "", ":", "/usr/share/zoneinfo/Asia/Gaza"}) {
        SetZone(name);
        EXPECT_EQ(FirstDifferenceFromHost(), -1) << name;
    }
    SetZone(nullptr);
    EXPECT_EQ(FirstDifferenceFromHost(), -1);
}

TEST(Calendar, WhatIsNoRuleIsUTC) {
    for (const std::string name :
         {"XY5", "No/Such", "../../../etc/passwd", "/dev/zero", "CET-1CEST,M3.5.0",
          "CET-1CEST,M13.5.0,M10.5.0", "CET-1CEST,M3.6.0,M10.5.0", "CET-1CEST,M3.5.7,M10.5.0",
          "CET-1CEST,J0,J5", "CET-1CEST,J366,J5", "CET-1CEST,366,5", "CET-1CEST,M3.5.0,M10.5.0,",
          "CET-25", "CET-1:60", "<CET-1", "CET-1CEST,M3.5.0/168,J5",
          "CET-1CEST,M3.5.0,M10.5.0/x"}) {
        SetZone(name.c_str());
        const std::int32_t summer = 1'751'371'506;
        EXPECT_EQ(platform::localtime(&summer)->tm_gmtoff, 0) << name;
    }
}

TEST(Calendar, NegativeSecondsAndWhat32BitsCannotHoldFail) {
    const std::int32_t negative = -1, zero = 0, last = 0x7FFFFFFF;
    SetZone("Europe/Berlin");
    EXPECT_EQ(platform::localtime(&negative), nullptr);
    EXPECT_EQ(platform::gmtime(&negative), nullptr);
    EXPECT_EQ(platform::localtime(&zero)->tm_hour, 1);
    EXPECT_EQ(platform::gmtime(&last)->tm_year, 138);
    constexpr int LEAST = std::numeric_limits<int>::min(), MOST = std::numeric_limits<int>::max();
    const struct {
        struct tm fields;
        std::int32_t seconds;
    } CASES[] = {{{0, 0, 0, 1, 0, 70, 0, 0, 0, 0, nullptr}, -3600},
                 {{52, 45, 21, 13, 11, 1, 0, 0, 0, 0, nullptr}, LEAST},
                 {{51, 45, 21, 13, 11, 1, 0, 0, 0, 0, nullptr}, -1},
                 {{MOST, 0, 1, 1, 0, 70, 0, 0, 0, 0, nullptr}, MOST},
                 {{MOST, 1, 1, 1, 0, 70, 0, 0, 0, 0, nullptr}, -1},
                 {{-5, -60, 0, -366, 13, 70, 0, 0, 0, 0, nullptr}, 29 * 86'400 - 7205},
                 {{0, 0, 0, 0, MOST, MOST, 0, 0, 0, 0, nullptr}, -1},
                 {{0, LEAST, 0, 0, LEAST, LEAST, 0, 0, 0, 0, nullptr}, -1}};
    for (const auto& row : CASES) {
        struct tm fields = row.fields;
        EXPECT_EQ(platform::mktime(&fields), row.seconds) << row.fields.tm_sec;
    }
}

TEST(Calendar, StandardTimeIsReadWithTheOneInForce) {
    const struct {
        const char* zone;
        int year, month, hour, daylight;
        std::int32_t hoursBehindGMT, timezone;
    } CASES[] = {{"Europe/Berlin", 2021, 1, 12, 0, -1, -3600},
                 {"Europe/Berlin", 2021, 7, 12, 0, -1, -3600},
                 {"Europe/Berlin", 2021, 7, 12, 1, -2, -3600},
                 {"Europe/Berlin", 2021, 1, 12, 1, -2, -3600},
                 {"Europe/Berlin", 2021, 7, 12, -1, -2, -3600},
                 {"Europe/Dublin", 2021, 1, 12, 1, 0, -3600},
                 {"Europe/Moscow", 2012, 1, 12, 0, -4, -14'400},
                 {"Europe/Moscow", 1991, 7, 12, 0, -2, -7200},
                 {"America/New_York", 2021, 7, 12, 0, 5, 18'000},
                 {"Asia/Tokyo", 2021, 7, 12, 1, -9, -32'400}};
    for (const auto& row : CASES) {
        SetZone(row.zone);
        struct tm fields {};
        fields.tm_hour = row.hour + row.hoursBehindGMT;
        fields.tm_mday = 1;
        fields.tm_mon = row.month - 1;
        fields.tm_year = row.year - 1900;
        const std::time_t expected = timegm(&fields);
        fields.tm_hour = row.hour;
        fields.tm_isdst = row.daylight;
        const std::int32_t seconds = platform::mktime(&fields);
        EXPECT_EQ(seconds, expected) << row.zone << row.year;
        EXPECT_EQ(platform::_timezone(), row.timezone) << row.zone << row.year;
    }
}

TEST(Calendar, TheZoneChangesWhenItIsReadAnewOnly) {
    const std::int32_t summer = 1'751'371'506;
    const auto offset = [&summer] { return platform::localtime(&summer)->tm_gmtoff; };
    SetZone("Europe/Berlin");
    setenv("TZ", "Asia/Tokyo", 1);
    tzset();
    EXPECT_EQ(offset(), 7200);
    struct tm fields {};
    platform::mktime(&fields);
    EXPECT_EQ(offset(), 7200);
    EXPECT_EQ(platform::_timezone(), -3600);
    platform::_tzset();
    EXPECT_EQ(offset(), 32'400);
    EXPECT_EQ(platform::_timezone(), -32'400);
}

TEST(ZoneFile, DamagedBytesAreRefusedOrReadWithoutHarm) {
    std::ifstream file("/usr/share/zoneinfo/Europe/Dublin", std::ios::binary);
    const std::string whole{std::istreambuf_iterator<char>(file), {}};
    static Zone zone;
    ASSERT_TRUE(platform::ReadZone(whole, zone));
    const std::size_t footer = whole.rfind('\n', whole.size() - 2);
    for (std::size_t size = 0; size < footer; ++size) {
        // Exactly as long as it is, so that a sanitizer sees a step beyond.
        const std::vector<char> part(whole.begin(), whole.begin() + static_cast<long>(size));
        EXPECT_FALSE(platform::ReadZone({part.data(), part.size()}, zone)) << size;
    }
    std::mt19937 random(1);
    for (int round = 0; round < 5000; ++round) {
        std::vector<char> damaged(whole.begin(), whole.end());
        for (int i = 0; i < 3; ++i)
            damaged[random() % (round % 2 == 0 ? damaged.size() : 100)] =
                static_cast<char>(random());
        if (platform::ReadZone({damaged.data(), damaged.size()}, zone)) {
            for (std::size_t i = 0; i + 1 < zone.Count(); ++i)
                ASSERT_LT(zone[i].from, zone[i + 1].from);
        }
    }
}

}  // namespace
