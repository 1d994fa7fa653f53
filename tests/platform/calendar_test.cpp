#include "utilities/platform/calendar.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <climits>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "utilities/platform/linux/zonefile.h"

/// The last change of the file that was asked for, in its place, where it isn't 0.
static std::time_t otherChange = 0;

extern "C" int stat(const char* path, struct stat* status) noexcept {
    const int result = fstatat(AT_FDCWD, path, status, 0);
    if (otherChange != 0)
        status->st_mtim.tv_sec = otherChange;
    return result;
}

namespace {

constexpr std::int32_t SUMMER = 1'751'371'506;

void SetZone(const char* name) {
    setenv("TZ", name, 1);
    platform::_tzset();
}

constexpr char NO_RULES[] =
    "XY5 No/Such ../../../etc/passwd /dev/zero CET-1CEST,M3.5.0 CET-1CEST,M13.5.0,M10.5.0 "
    "CET-1CEST,M3.6.0,M10.5.0 CET-1CEST,M3.5.7,M10.5.0 CET-1CEST,J0,J5 CET-1CEST,J366,J5 "
    "CET-1CEST,366,5 CET-1CEST,M3.5.0,M10.5.0, CET-25 CET-1:60 CET-1:30:61 CETx [AB-1 CE~1 `BC1 "
    "CET-99999 CET-1CEST,M3.5.0/1:60,M10.5.0 CET-1CEST,M3.5.0/1:30:60,M10.5.0 <CET-1 CET-1CEST2x "
    "CET-1CEST,M3.5.0/168,J5 CET-1CEST-25,J5,J9 CET-1CE,J5,J9";

TEST(Calendar, WhatIsNoRuleIsUTC) {
    std::istringstream names(NO_RULES + (' ' + std::string(PATH_MAX, 'A')));
    for (std::string name; names >> name;) {
        SetZone(name.c_str());
        EXPECT_STREQ(platform::localtime(&SUMMER)->tm_zone, "UTC") << name;
    }
}

TEST(Calendar, NegativeSecondsAndWhat32BitsCannotHoldFail) {
    const std::int32_t negative = -1, first = 0, last = 0x7FFFFFFF;
    SetZone("Europe/Berlin");
    EXPECT_EQ(platform::localtime(&first)->tm_hour, 1);
    EXPECT_EQ(platform::gmtime(&first)->tm_year, 70);
    EXPECT_EQ(platform::localtime(&negative), nullptr);
    EXPECT_EQ(platform::gmtime(&negative), nullptr);
    EXPECT_EQ(platform::gmtime(&last)->tm_year, 138);
    constexpr int LEAST = INT_MIN, MOST = INT_MAX;
    const struct {
        int second, minute, hour, day, month, year;
        std::int32_t seconds;
    } CASES[] = {{52, 45, 21, 13, 11, 1, LEAST},
                 {51, 45, 21, 13, 11, 1, -1},
                 {MOST, 0, 1, 1, 0, 70, MOST},
                 {MOST, 1, 1, 1, 0, 70, -1},
                 {0, 0, 0, 1, 2, 200, -1},
                 {0, 0, 0, 1, 2, 0, -1},
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
        int year, month, daylight, hourInGMT;
        std::int32_t timezone;
    } CASES[] = {
        {"Europe/Berlin", 2021, 7, 0, 11, -3600},   {"Europe/Berlin", 2021, 7, 1, 10, -3600},
        {"Europe/Berlin", 2021, 1, 1, 10, -3600},   {"Europe/Berlin", 2021, 7, -1, 10, -3600},
        {"Europe/Dublin", 2021, 1, 1, 12, -3600},   {"Europe/Moscow", 2012, 1, 0, 8, -14'400},
        {"Europe/Moscow", 2010, 12, 1, 8, -10'800}, {"Europe/Berlin", 1980, 1, 1, 10, -3600},
        {"Europe/Moscow", 1991, 7, 0, 10, -7200},   {"Asia/Tokyo", 2021, 7, 1, 3, -32'400},
        {"abc5def", 2021, 3, -1, 17, 18'000},       {"abc5def", 2021, 11, -1, 16, 18'000}};
    for (const auto& [zone, year, month, daylight, hourInGMT, timezone] : CASES) {
        SetZone(zone);
        struct tm fields = {0, 0, 12, 1, month - 1, year - 1900, 0, 0, daylight, 0, nullptr};
        const std::int32_t seconds = platform::mktime(&fields);
        EXPECT_EQ(platform::gmtime(&seconds)->tm_hour, hourInGMT) << zone << year << month;
        EXPECT_EQ(platform::_timezone(), timezone) << zone << year << month;
    }
    SetZone("Europe/Berlin");
    struct tm skipped = {0, 30, 2, 28, 2, 121, 0, 0, -1, 0, nullptr};
    EXPECT_EQ(platform::mktime(&skipped), 18714 * 86'400 + 5400);
}

TEST(Calendar, TheZoneChangesWhenItIsReadAnewOnly) {
    SetZone("Europe/Moscow");
    setenv("TZ", "Asia/Tokyo", 1);
    struct tm in2012 = {0, 0, 0, 1, 0, 112, 0, 0, 0, 0, nullptr}, fails{};
    platform::mktime(&in2012);
    for (const auto& [offset, timezone] : {std::pair(10'800, -10'800), {32'400, -32'400}}) {
        EXPECT_EQ(platform::mktime(&fails), -1);
        EXPECT_EQ(platform::localtime(&SUMMER)->tm_gmtoff, offset);
        EXPECT_EQ(platform::_timezone(), timezone);
        platform::_tzset();
    }
    unsetenv("TZ");
    platform::_tzset();
    platform::_tzset();
    const std::time_t summer = SUMMER;
    EXPECT_EQ(platform::localtime(&SUMMER)->tm_gmtoff, std::localtime(&summer)->tm_gmtoff);
}

TEST(Calendar, TheSystemsZoneIsReadAnewWhenItsFileHasChanged) {
    unsetenv("TZ");
    for (const std::time_t change : {0, 1, 1, 2}) {
        otherChange = change;
        platform::_tzset();
        const std::time_t summer = SUMMER;
        EXPECT_EQ(platform::localtime(&SUMMER)->tm_gmtoff, std::localtime(&summer)->tm_gmtoff);
    }
    otherChange = 0;
}

TEST(ZoneFile, IsLookedForInTheFolderThatIsNamed) {
    setenv("TZDIR", "/usr/share/zoneinfo/Europe", 1);
    SetZone("Berlin");
    EXPECT_STREQ(platform::localtime(&SUMMER)->tm_zone, "CEST");
    setenv("TZDIR", "", 1);
    SetZone("Europe/Berlin");
    EXPECT_STREQ(platform::localtime(&SUMMER)->tm_zone, "CEST");
    unsetenv("TZDIR");
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
    for (const char* end : {"CET-1\n", "\n\n", "\nCET-1", "\nCET-1CEST\n", "\n1\n"})
        EXPECT_TRUE(platform::ReadZone(whole.substr(0, footer) + end, zone))
            << "without a rule" << end;
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

/// A zone file of the first version: a step between two clocks at each of the instants.
std::string FileOf(const std::vector<std::int32_t>& instants) {
    std::string times, types;
    for (std::size_t i = 0; i < instants.size(); ++i) {
        for (int shift = 24; shift >= 0; shift -= 8)
            times += static_cast<char>(instants[i] >> shift);
        types += static_cast<char>(i % 2);
    }
    const auto count = static_cast<char>(instants.size());
    const std::string start = std::string("TZif") + std::string(16, '\0') + std::string(8, '\0');
    const char counts[] = {0, 0, 0, 0, 0, 0, static_cast<char>(instants.size() >> 8), count, 0, 0,
                           0, 2, 0, 0, 0, 4};
    return start + std::string(counts, 16) + times + types + std::string(6, '\0') +
           std::string("\0\0\x0E\x10\1\0", 6) + std::string("ABC\0", 4);
}

TEST(ZoneFile, StepsBackwardsAreRefusedAndThoseBeyondAZonesRoomLeftOut) {
    static platform::Zone zone;
    std::vector<std::int32_t> many;
    for (std::int32_t i = 0; i < 2000; ++i)
        many.push_back(i * 1000);
    EXPECT_FALSE(platform::ReadZone(FileOf({1000, 3000, 2000}), zone));
    ASSERT_TRUE(platform::ReadZone(FileOf(many), zone));
    EXPECT_GT(zone.Count(), 500u);
    EXPECT_LT(zone.Count(), 2000u);
}

// Last of all, as none comes back.
TEST(ZoneNames, RunOutWithoutHarm) {
    for (int i = 1000; i < 2000; ++i)
        SetZone(("<+" + std::to_string(i) + ">0").c_str());
    EXPECT_STREQ(platform::localtime(&SUMMER)->tm_zone, "");
}

}  // namespace
