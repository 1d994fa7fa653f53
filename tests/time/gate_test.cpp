#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "tests/fakes/calendar.h"
#include "tests/fakes/clock.h"
#include "tests/support/report_of.h"
#include "utilities/services/unique_id.h"
#include "utilities/services/unique_id_internal.h"
#include "utilities/time/bqtime.h"

namespace {

std::string told;

constexpr char FAILED[] = "ASSERT((false) in: .\\BqTime  line #\n";
constexpr char CHANGED[] = "ASSERT((nCopyOfTime == *time) in: .\\BqTime  line #\n";
constexpr char DAYLIGHT[] = "ASSERT((0 == gmTime.tm_isdst) in: .\\BqTime  line #\n";

using fakes::calendar;

}  // namespace

/// Stands in for the library's own, by the linker.
extern "C" int __wrap_printFmtDBGFile(const char* format, ...) {
    char text[200];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    told += text;
    return 1;
}

namespace {

TEST(Gate, ConvertsToLocalTimeUntilTwoResultsAgree) {
    const struct {
        const char *records, *calls;
        int hour;
        const char *retries, *report;
    } CASES[] = {{"aa", "ll", 'a', "", ""},      {"abb", "lll", 'b', "", ""},
                 {"abcc", "llll", 'c', "1", ""}, {"abcdef", "llllll", 'e', "4", ""},
                 {"-a", "l", 0, "", FAILED},     {"abc-c", "llll", 'c', "1", ""}};
    for (const auto& [records, calls, hour, retries, report] : CASES) {
        SCOPED_TRACE(records);
        calendar = {.records = records};
        told.clear();
        const std::int32_t seconds = 5;
        const bool expected = std::strchr(records, '-') == nullptr;
        bool success = !expected;
        EXPECT_EQ(
            ReportOf([&] { EXPECT_EQ(BqGMTime::localtime(&seconds, &success).tm_hour, hour); }),
            report);
        EXPECT_EQ(calendar.calls, calls);
        EXPECT_EQ(success, expected);
        EXPECT_EQ(told, *retries == '\0' ? ""
                                         : std::string("BqGMTime::tm_mutex needs ") + retries +
                                               " retries for time conversion");
    }
}

TEST(Gate, ConvertsToGMTOnceAndReportsSecondsThatChange) {
    std::int32_t seconds = 5;
    bool success = false;
    calendar = {.records = "ab", .changing = &seconds};
    EXPECT_EQ(ReportOf([&] { BqGMTime::localtime(&seconds, &success); }), CHANGED);
    EXPECT_TRUE(success);
    EXPECT_EQ(ReportOf([&] { EXPECT_EQ(BqGMTime::gmtime(&seconds, nullptr).tm_hour, 'b'); }),
              CHANGED);
    EXPECT_EQ(calendar.calls, "lllg");
    calendar = {.records = "-a"};
    EXPECT_EQ(ReportOf([&] { EXPECT_EQ(BqGMTime::gmtime(&seconds, &success).tm_hour, 0); }),
              FAILED);
    EXPECT_FALSE(success);
    EXPECT_EQ(calendar.calls, "g");
}

TEST(Gate, ReadsFieldsAndTellsOfAFailure) {
    const struct {
        std::vector<std::int32_t> seconds;
        bool writeBack, success;
        int minute, hour;
        const char* calls;
    } CASES[] = {{{-2}, true, true, 7, 9, "M"},
                 {{-2}, false, true, 3, 9, "M"},
                 {{-1, -1}, true, false, 0, 0, "Mm"},
                 {{-1, 13}, true, false, 7, 0, "Mm"},
                 {{-1, 13}, false, false, 3, 9, "Mm"}};
    for (const auto& row : CASES) {
        calendar = {.seconds = row.seconds};
        struct tm record = {0, 3, 9, 0, 0, 0, 0, 0, 1, 0, nullptr};
        bool success = !row.success;
        std::int32_t result = 0;
        EXPECT_EQ(ReportOf([&] { result = BqGMTime::mktime(&record, row.writeBack, &success); }),
                  row.success ? "" : FAILED);
        EXPECT_EQ(calendar.calls, row.calls);
        EXPECT_EQ(std::tuple(result, success, record.tm_min, record.tm_hour),
                  std::tuple(row.seconds.back(), row.success, row.minute, row.hour));
    }
    calendar = {.seconds = {-3600, 5, 0x7FFFFFFF}, .zones = {-3600, 7200, -2}};
    struct tm record {};
    for (const int seconds : {0, -7195, -0x7FFFFFFF})
        EXPECT_EQ(BqGMTime::timegm(&record), seconds);
    EXPECT_EQ(calendar.calls, "zmzmzm") << "the zone is read anew";
    EXPECT_EQ(record.tm_min, 0) << "not written back";
}

TEST(Gate, TakesTheOffsetFromStandardTimesEachCountedFromGMT) {
    const struct {
        const char* what;
        fakes::Calendar calendar;
        int offset;
        const char *calls, *report;
    } CASES[] = {
        {"changed in between", {.seconds = {100, 0}, .zones = {-60, -30}}, 130000, "gllmm", ""},
        {"beyond 32 bits", {.seconds = {3'000'000, 0}}, -1'294'967'296, "gllmm", ""},
        {"GMT with daylight saving", {.gmDaylight = 1, .seconds = {5, 5}}, 0, "gllmM", DAYLIGHT},
        {"nothing can be converted", {.records = "-", .seconds = {-1}}, 0, "glmmmm", nullptr},
    };
    const std::string twice = std::string(FAILED) + FAILED, everyFailure = twice + twice;
    for (const auto& row : CASES) {
        SCOPED_TRACE(row.what);
        calendar = row.calendar;
        int offset = -1;
        bool daylight = false;
        const std::string report =
            ReportOf([&] { offset = BqGMTime::getLocalTimeMsecOffset(BqGMTime(5000), &daylight); });
        EXPECT_EQ(report, row.report != nullptr ? row.report : everyFailure);
        EXPECT_EQ(std::tuple(offset, daylight, calendar.calls),
                  std::tuple(row.offset, row.report != nullptr, row.calls));
    }
    calendar = {};
    bool untouched = true;
    EXPECT_EQ(BqGMTime::getLocalTimeMsecOffset(BqGMTime(-1), &untouched), 0);
    EXPECT_EQ(BqGMTime::getLocalTimeMsecOffset(BqGMTime(0), &untouched), 0);
    EXPECT_TRUE(untouched && calendar.calls.empty());
}

TEST(Gate, AClockThatFailsShowsTheEpoch) {
    calendar = {.now = -1};
    std::int32_t stored = 1;
    EXPECT_EQ(BqGMTime::time(&stored), -1);
    EXPECT_EQ(stored, -1);
    EXPECT_EQ(BqGMTime::getCurrentTime(), BqGMTime(0));
    calendar = {.now = 0x7FFFFFFF};
    EXPECT_EQ(BqGMTime::getCurrentTime(), BqGMTime(2'147'483'647'000));
}

TEST(UniqueId, IsMadeOfTimeCounterAndFraction) {
    constexpr std::uint64_t MOST = ~std::uint64_t{0};
    const struct {
        const char* what;
        std::int32_t seconds;
        std::uint32_t clock;
        std::uint64_t counter;
        std::vector<int> randoms;
        std::uint64_t id, counterAfter;
        const char* calls;
    } CASES[] = {
        {"known", 0x12345678, 7045, 0x1ABC, {}, 0x12345678ABC0002D, 0x1ABD, ""},
        {"counter wraps", 1, 999, MOST, {}, 0x1FFF003E7, 1, ""},
        {"first", 5, 45, 0, {0xA00}, 0x5A2D0002D, 0xA2E, "s5r"},
        {"first sum is 0", 5, 0, 0, {0}, 0x500100000, 2, "s5r"},
        {"clock fails", 5, 0xFFFFFFFF, 9, {}, 0x5009FFFFF, 10, ""},
        {"no time, again", 0, 1, 2, {-1, -2, 8}, 0x900200001, 3, "rrr"},
        {"no time, first", -1, 1, 0, {4, 6}, 0x700500001, 6, "s-1rr"},
        {"random at its end", -1, 1, 2, {0x7FFFFFFF}, 0x8000000000200001, 3, "r"},
    };
    for (const auto& row : CASES) {
        SCOPED_TRACE(row.what);
        calendar = {.now = row.seconds, .randoms = row.randoms};
        fakes::milliseconds = row.clock;
        uniqueCounter = row.counter;
        const auto id = static_cast<std::uint64_t>(create_unique_id());
        EXPECT_EQ(std::tuple(id, std::uint64_t{uniqueCounter}, calendar.calls),
                  std::tuple(row.id, row.counterAfter, row.calls));
    }
}

}  // namespace
