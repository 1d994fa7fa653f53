#include "utilities/platform/calendar.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "utilities/platform/linux/zonefile.h"

namespace {

constexpr std::int32_t SUMMER = 1'751'371'506;

void SetZone(const char* name) {
    name != nullptr ? setenv("TZ", name, 1) : unsetenv("TZ");
    tzset();
    platform::_tzset();
}

/// The local time that the library has, or the C library.
std::string Shown(const struct tm& local) {
    return std::to_string(local.tm_mday) + " " + std::to_string(local.tm_isdst) + " " +
           std::to_string(local.tm_gmtoff) + local.tm_zone;
}

// The walk of all zones looks at the files.
TEST(Calendar, ReadsRulesAsTheCLibraryDoes) {
    for (const char* name :
         {"CET-1CEST,M3.5.0,M10.5.0/3", "EST5EDT", "NZST-12NZDT,M9.5.0,M4.1.0/3",
          "<+0330>-3:30<+0430>,J79/24,J263/24", "<-02>2<-01>,M3.5.0/-1,M10.5.0/0",
          "IST-1GMT0,M10.5.0,M3.5.0/1", "EET-2EEST,59,J60/167:59:59", "HOM-14:15:16",
          ":Africa/Casablanca", "", ":", "/usr/share/zoneinfo/Asia/Gaza",
          static_cast<const char*>(nullptr)}) {
        SetZone(name);
        for (std::int32_t seconds = 5; seconds < 0x7FFF0000; seconds += 0xFFFF) {
            const std::time_t wide = seconds;
            ASSERT_EQ(Shown(*platform::localtime(&seconds)), Shown(*std::localtime(&wide)))
                << (name != nullptr ? name : "no name") << " at " << seconds;
        }
    }
}

TEST(Calendar, WhatIsNoRuleIsUTC) {
    for (const char* name :
         {"XY5", "No/Such", "../../../etc/passwd", "/dev/zero", "CET-1CEST,M3.5.0",
          "CET-1CEST,M13.5.0,M10.5.0", "CET-1CEST,M3.6.0,M10.5.0", "CET-1CEST,M3.5.7,M10.5.0",
          "CET-1CEST,J0,J5", "CET-1CEST,J366,J5", "CET-1CEST,366,5", "CET-1CEST,M3.5.0,M10.5.0,",
          "CET-25", "CET-1:60", "<CET-1", "CET-1CEST,M3.5.0/168,J5"}) {
        SetZone(name);
        EXPECT_EQ(platform::localtime(&SUMMER)->tm_gmtoff, 0) << name;
    }
}

TEST(Calendar, NegativeSecondsAndWhat32BitsCannotHoldFail) {
    const std::int32_t negative = -1, last = 0x7FFFFFFF;
    SetZone("Europe/Berlin");
    EXPECT_EQ(platform::localtime(&negative), nullptr);
    EXPECT_EQ(platform::gmtime(&negative), nullptr);
    EXPECT_EQ(platform::gmtime(&last)->tm_year, 138);
    constexpr int LEAST = std::numeric_limits<int>::min(), MOST = std::numeric_limits<int>::max();
    const struct {
        int second, minute, hour, day, month, year;
        std::int32_t seconds;
    } CASES[] = {{52, 45, 21, 13, 11, 1, LEAST},
                 {51, 45, 21, 13, 11, 1, -1},
                 {MOST, 0, 1, 1, 0, 70, MOST},
                 {MOST, 1, 1, 1, 0, 70, -1},
                 {-5, -60, 0, -366, 13, 70, 29 * 86'400 - 7205},
                 {0, LEAST, 0, 0, LEAST, LEAST, -1}};
    for (const auto& [second, minute, hour, day, month, year, seconds] : CASES) {
        struct tm fields = {second, minute, hour, day, month, year, 0, 0, 0, 0, nullptr};
        EXPECT_EQ(platform::mktime(&fields), seconds) << second << ":" << minute;
    }
}

TEST(Calendar, StandardTimeIsReadWithTheOneInForce) {
    const struct {
        const char* zone;
        int year, month, daylight;
        std::int32_t hoursBehindGMT, timezone;
    } CASES[] = {
        {"Europe/Berlin", 2021, 7, 0, -1, -3600}, {"Europe/Berlin", 2021, 7, 1, -2, -3600},
        {"Europe/Berlin", 2021, 1, 1, -2, -3600}, {"Europe/Berlin", 2021, 7, -1, -2, -3600},
        {"Europe/Dublin", 2021, 1, 1, 0, -3600},  {"Europe/Moscow", 2012, 1, 0, -4, -14'400},
        {"Europe/Moscow", 1991, 7, 0, -2, -7200}, {"Asia/Tokyo", 2021, 7, 1, -9, -32'400}};
    for (const auto& row : CASES) {
        SCOPED_TRACE(std::string(row.zone) + " in row " + std::to_string(&row - CASES));
        SetZone(row.zone);
        struct tm fields = {0, 0, 12,           1, row.month - 1, row.year - 1900,
                            0, 0, row.daylight, 0, nullptr};
        struct tm gmt = fields;
        gmt.tm_hour += row.hoursBehindGMT;
        EXPECT_EQ(platform::mktime(&fields), timegm(&gmt));
        EXPECT_EQ(platform::_timezone(), row.timezone);
    }
}

TEST(Calendar, TheZoneChangesWhenItIsReadAnewOnly) {
    SetZone("Europe/Berlin");
    setenv("TZ", "Asia/Tokyo", 1);
    struct tm fields {};
    platform::mktime(&fields);
    EXPECT_EQ(platform::localtime(&SUMMER)->tm_gmtoff, 7200);
    EXPECT_EQ(platform::_timezone(), -3600);
    platform::_tzset();
    EXPECT_EQ(platform::localtime(&SUMMER)->tm_gmtoff, 32'400);
    EXPECT_EQ(platform::_timezone(), -32'400);
}

TEST(ZoneFile, DamagedBytesAreRefusedOrReadWithoutHarm) {
    std::ifstream file("/usr/share/zoneinfo/Europe/Dublin", std::ios::binary);
    const std::string whole{std::istreambuf_iterator<char>(file), {}};
    static platform::Zone zone;
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
        const bool isRead = platform::ReadZone({damaged.data(), damaged.size()}, zone);
        for (std::size_t i = 0; isRead && i + 1 < zone.Count(); ++i)
            ASSERT_LT(zone[i].from, zone[i + 1].from);
    }
}

}  // namespace
