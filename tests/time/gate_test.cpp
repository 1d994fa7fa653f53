#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <sstream>
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
        bool success;
        std::string retries, report;
    } CASES[] = {{"aa", "ll", 'a', true, "", ""},          {"abb", "lll", 'b', true, "", ""},
                 {"abcc", "llll", 'c', true, "1", ""},     {"abcdee", "llllll", 'e', true, "3", ""},
                 {"abcdef", "llllll", 'e', true, "4", ""}, {"-a", "l", 0, false, "", FAILED},
                 {"a-b", "ll", 'a', false, "", ""},        {"abc-c", "llll", 'c', false, "1", ""}};
    for (const auto& row : CASES) {
        SCOPED_TRACE(row.records);
        calendar = {.records = row.records};
        told.clear();
        const std::int32_t seconds = 5;
        bool success = !row.success;
        struct tm record {};
        EXPECT_EQ(ReportOf([&] { record = BqGMTime::localtime(&seconds, &success); }), row.report);
        EXPECT_EQ(calendar.calls, row.calls);
        EXPECT_EQ(record.tm_hour, row.hour);
        EXPECT_EQ(success, row.success);
        EXPECT_EQ(told, row.retries.empty() ? ""
                                            : "BqGMTime::tm_mutex needs " + row.retries +
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
        bool writeBack;
        std::int32_t result;
        bool success;
        int minute, hour;
        const char *calls, *report;
    } CASES[] = {{{42}, true, 42, true, 7, 9, "M", ""},
                 {{42}, false, 42, true, 3, 9, "M", ""},
                 {{-2}, true, -2, true, 7, 9, "M", ""},
                 {{-1, -1}, true, -1, false, 0, 0, "Mm", FAILED},
                 {{-1, 13}, true, 13, false, 7, 0, "Mm", FAILED},
                 {{-1, 13}, false, 13, false, 3, 9, "Mm", FAILED}};
    for (const auto& row : CASES) {
        calendar = {.seconds = row.seconds};
        struct tm record {};
        record.tm_min = 3;
        record.tm_hour = 9;
        record.tm_isdst = 1;
        bool success = !row.success;
        std::int32_t result = 0;
        EXPECT_EQ(ReportOf([&] { result = BqGMTime::mktime(&record, row.writeBack, &success); }),
                  row.report);
        EXPECT_EQ(calendar.calls, row.calls);
        EXPECT_EQ(std::tuple(result, success, record.tm_min, record.tm_hour),
                  std::tuple(row.result, row.success, row.minute, row.hour));
    }
}

TEST(Gate, ReadsFieldsAsGMTWithTheZoneReadAnew) {
    calendar = {.seconds = {-3600, 5, 0x7FFFFFFF}, .zones = {-3600, 7200, -2}};
    struct tm record {};
    EXPECT_EQ(BqGMTime::timegm(&record), 0);
    EXPECT_EQ(BqGMTime::timegm(&record), -7195);
    EXPECT_EQ(BqGMTime::timegm(&record), -0x7FFFFFFF) << "in 32 bits";
    EXPECT_EQ(calendar.calls, "zmzmzm");
    EXPECT_EQ(record.tm_min, 0) << "not written back";
}

TEST(Gate, TakesTheOffsetFromStandardTimesEachCountedFromGMT) {
    const struct {
        const char* what;
        fakes::Calendar calendar;
        int offset;
        const char *calls, *report;
    } CASES[] = {
        {"one standard time", {.seconds = {7200, 3600}, .zones = {-3600}}, 3600000, "gllmm", ""},
        {"changed in between", {.seconds = {100, 0}, .zones = {-60, -30}}, 130000, "gllmm", ""},
        {"beyond 32 bits", {.seconds = {3'000'000, 0}}, -1'294'967'296, "gllmm", ""},
        {"GMT with daylight saving", {.gmDaylight = 1, .seconds = {5, 5}}, 0, "gllmM", DAYLIGHT},
        {"nothing can be converted", {.records = "-", .seconds = {-1}}, 0, "glmmmm", nullptr},
    };
    for (const auto& row : CASES) {
        SCOPED_TRACE(row.what);
        calendar = row.calendar;
        int offset = -1;
        bool daylight = false;
        const auto ask = [&] {
            offset = BqGMTime::getLocalTimeMsecOffset(BqGMTime(5000), &daylight);
        };
        const std::string report = ReportOf(ask), everyFailure = std::string(FAILED) + FAILED;
        EXPECT_EQ(report, row.report != nullptr ? row.report : everyFailure + everyFailure);
        EXPECT_EQ(offset, row.offset);
        EXPECT_EQ(calendar.calls, row.calls);
        EXPECT_EQ(daylight, row.report != nullptr);
    }
    calendar = {};
    bool untouched = true;
    EXPECT_EQ(BqGMTime::getLocalTimeMsecOffset(BqGMTime(-1), &untouched), 0);
    EXPECT_EQ(BqGMTime::getLocalTimeMsecOffset(BqGMTime(0), &untouched), 0);
    std::ostringstream out;
    out << BqGMTime();
    EXPECT_EQ(out.str(), "Invalid time");
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
        {"known", 0x12345678, 7045, 0xABC, {}, 0x12345678ABC0002D, 0xABD, ""},
        {"wide counter", 0x12345678, 45, 0x1ABC, {}, 0x12345678ABC0002D, 0x1ABD, ""},
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
        EXPECT_EQ(static_cast<std::uint64_t>(create_unique_id()), row.id);
        EXPECT_EQ(uniqueCounter, row.counterAfter);
        EXPECT_EQ(calendar.calls, row.calls);
    }
}

}  // namespace
