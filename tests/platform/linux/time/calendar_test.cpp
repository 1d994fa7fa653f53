#include "utilities/platform/calendar.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/support/platform_zone.h"
#include "utilities/platform/clock.h"
#include "utilities/platform/linux/time/zonefile.h"

/// Unless 0, the present time, and what `stat` stores as the last change of the file and as its
/// number.
static std::time_t otherTime = 0, otherChange = 0;
static ino_t otherNumber = 0;

extern "C" std::time_t time(std::time_t*) noexcept {
    timespec now;
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    return otherTime != 0 ? otherTime : now.tv_sec;
}

/// How much one `read` returns at most, and how many there were, of any test's threads.
static std::size_t mostRead = SIZE_MAX;
static std::atomic<std::size_t> reads{0};

extern "C" ssize_t read(int file, void* bytes, std::size_t size) {
    ++reads;
    return syscall(SYS_read, file, bytes, std::min(size, mostRead));
}

/// Unless null, what happens at the next `stat`.
static void (*atStat)() = nullptr;

extern "C" int stat(const char* path, struct stat* status) noexcept {
    const int result = fstatat(AT_FDCWD, path, status, 0);
    if (otherChange != 0)
        status->st_mtim.tv_sec = otherChange;
    if (otherNumber != 0)
        status->st_ino = otherNumber;
    if (const auto happens = std::exchange(atStat, nullptr))
        happens();
    return result;
}

namespace {

using namespace std::string_literals;

constexpr std::int32_t WINTER = 1'736'000'000, SUMMER = 1'751'371'506;

TEST(Calendar, TextsOfTZAreReadAsFarAsTheyAreRules) {
    const struct {
        const char* texts;
        int winter, summer;
    } CASES[] = {
        {"XY5 No/Such ../../../etc/passwd /dev/zero CETx CET- [AB-1 CE~1 `BC1 <CET-1 <CE.>1", 0, 0},
        {"CET-1: CET-1, CET-1CE,J5,J9 CET-1:0:CEST CET-1<CE> CET-1<CEST CET-1,J5,J9", 3600, 3600},
        {"CET-1CEST,M3.5.0,Mx CET-1CEST,x CET-1CEST,M3x CET-1CEST-2x CET-1CEST: "
         "CET-1CEST,J60/x,J300/ CET-1CEST,M3.9.7,M99.0.0 CET-1CEST,60,999",
         3600, 7200}};
    for (const auto& [texts, winter, summer] : CASES) {
        std::istringstream words(texts + (winter == 0 ? ' ' + std::string(PATH_MAX, 'A') : ""));
        for (std::string text; words >> text;) {
            SetZone(text.c_str());
            EXPECT_EQ(platform::localtime(&WINTER)->tm_gmtoff, winter) << text;
            EXPECT_EQ(platform::localtime(&SUMMER)->tm_gmtoff, summer) << text;
        }
    }
}

TEST(Calendar, NegativeSecondsAndResultsBeyond32BitsFail) {
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
                 {-5, -60, 0, -366, 13, 70, 29 * platform::SECONDS_A_DAY - 7205},
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
        {"Asia/Pyongyang", 2016, 7, 0, 3, -30'600}, {"Asia/Pyongyang", 2014, 7, 0, 3, -32'400},
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
    EXPECT_EQ(platform::mktime(&skipped), 18714 * platform::SECONDS_A_DAY + 5400);
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
    const std::time_t summer = SUMMER;
    // The file is looked at once a second.
    const struct {
        int now, change;
        ino_t number;
        bool isReadAnew;
    } STEPS[] = {{1, 1, 0, true}, {1, 2, 0, false}, {2, 2, 0, true}, {3, 2, 0, false},
                 {4, 2, 7, true}, {5, 2, 7, false}, {0, 0, 0, true}};
    for (const auto& [now, change, number, isReadAnew] : STEPS) {
        otherTime = now;
        otherChange = change;
        otherNumber = number;
        reads = 0;
        platform::_tzset();
        EXPECT_EQ(reads > 0, isReadAnew) << "for the system's zone, changed at " << change;
        EXPECT_EQ(platform::localtime(&SUMMER)->tm_gmtoff, std::localtime(&summer)->tm_gmtoff);
    }
}

TEST(Calendar, AForkWhileItIsInUseMakesTheChildReadItsZoneAnew) {
    static pid_t child;
    SetZone("Europe/Berlin");
    EXPECT_EQ(platform::localtime(&SUMMER)->tm_gmtoff, 7200);
    unsetenv("TZ");
    atStat = [] {
        if (child = fork(); child == 0) {
            setenv("TZ", "Asia/Tokyo", 1);
            _exit(platform::localtime(&SUMMER)->tm_gmtoff == 32'400 ? 0 : 1);
        }
    };
    platform::_tzset();
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST(ZoneFile, IsFoundInTheFolderOfTZDIR) {
    for (const auto& [folder, name] :
         {std::pair("/usr/share/zoneinfo/Europe", "Berlin"), {"", "Europe/Berlin"}}) {
        setenv("TZDIR", folder, 1);
        SetZone(name);
        EXPECT_EQ(platform::localtime(&SUMMER)->tm_gmtoff, 7200) << folder;
    }
    unsetenv("TZDIR");
}

TEST(ZoneFile, DamagedBytesAreRefusedOrReadWithoutHarm) {
    std::ifstream file("/usr/share/zoneinfo/Europe/Dublin", std::ios::binary);
    const std::string whole{std::istreambuf_iterator<char>(file), {}};
    static platform::Zone zone;
    ASSERT_TRUE(platform::ReadZone(whole, zone));
    const std::size_t footer = whole.rfind('\n', whole.size() - 2);
    for (std::size_t size = 0; size < footer; ++size) {
        // A buffer of exactly this size, so that a sanitizer sees a read beyond it.
        const std::vector<char> part(whole.begin(), whole.begin() + static_cast<long>(size));
        EXPECT_FALSE(platform::ReadZone({part.data(), part.size()}, zone)) << size;
    }
    for (const char* end : {"CET-1\n", "\n\n", "\nCET-1", "\nCET-1CEST\n", "\n1\n"})
        EXPECT_TRUE(platform::ReadZone(whole.substr(0, footer) + end, zone))
            << "without a rule" << end;
    std::mt19937 random(1);
    for (int round = 0; round < 5000; ++round) {
        std::string damaged = whole;
        for (int i = 0; i < 3; ++i)
            damaged[random() % (round % 2 == 0 ? damaged.size() : 100)] =
                static_cast<char>(random());
        ASSERT_TRUE(SetZoneBytes(damaged));
        for (std::uint64_t seconds = random() % 100'000'000; seconds < INT_MAX;
             seconds += 100'000'000)
            ASSERT_STREQ(ConversionFault(static_cast<std::int32_t>(seconds)), "") << round;
    }
}

TEST(ZoneFile, IsReadAnewIfItCouldNotBeReadAndWholeIfReadsAreShort) {
    rlimit files{}, none{};
    getrlimit(RLIMIT_NOFILE, &files);
    none.rlim_max = files.rlim_max;
    SetZone("Asia/Tokyo");
    setrlimit(RLIMIT_NOFILE, &none);
    SetZone("Europe/Berlin");
    setrlimit(RLIMIT_NOFILE, &files);
    EXPECT_EQ(platform::localtime(&SUMMER)->tm_gmtoff, 32'400);
    mostRead = 100;
    platform::_tzset();
    mostRead = SIZE_MAX;
    EXPECT_EQ(platform::localtime(&SUMMER)->tm_gmtoff, 7200);
}

/// A zone file of version 1: a change between two clocks at each of the instants.
std::string FileOf(const std::vector<std::int32_t>& instants) {
    const std::size_t count = instants.size();
    std::string times, types;
    for (std::size_t i = 0; i < count; ++i) {
        for (int shift = 24; shift >= 0; shift -= 8)
            times += static_cast<char>(instants[i] >> shift);
        types += static_cast<char>(i % 2);
    }
    return "TZif" + std::string(30, '\0') + static_cast<char>(count >> 8) +
           static_cast<char>(count) + "\0\0\0\2\0\0\0\4"s + times + types +
           "\0\0\0\0\0\0\0\0\x0E\x10\1\0ABC\0"s;
}

TEST(ZoneFile, ChangesOutOfOrderAreRefusedAndThoseBeyondAZonesCapacityLeftOut) {
    static platform::Zone zone;
    std::vector<std::int32_t> many;
    for (std::int32_t i = 0; i < 2000; ++i)
        many.push_back(i * 1000);
    EXPECT_FALSE(platform::ReadZone(FileOf({1000, 3000, 2000}), zone));
    ASSERT_TRUE(platform::ReadZone(FileOf(many), zone));
    EXPECT_GT(zone.Count(), 500u);
    EXPECT_LT(zone.Count(), 2000u);
}

const auto loaded = std::chrono::steady_clock::now();

TEST(Clock, CountsFromTheStartOfTheProcess) {
    constexpr std::chrono::milliseconds coarse(30);
    std::this_thread::sleep_for(4 * coarse);
    const auto elapsed = std::chrono::steady_clock::now() - loaded;
    EXPECT_GE(std::chrono::milliseconds(platform::clock()) + coarse, elapsed);
}

TEST(ZoneNames, AreEmptyWhenTheirSpaceIsUsedUp) {
    for (int i = 1000; i < 2000; ++i)
        SetZone(("<+" + std::to_string(i) + ">0").c_str());
    EXPECT_STREQ(platform::localtime(&SUMMER)->tm_zone, "");
}

}  // namespace
