#include <gtest/gtest.h>

#include <cstdarg>
#include <cstring>
#include <string>
#include <utility>

#include "tests/fakes/calendar.h"
#include "tests/fakes/clock.h"
#include "tests/support/report_of.h"
#include "utilities/frame/relaxed.h"
#include "utilities/services/unique_id.h"
#include "utilities/time/bqtime.h"

extern constinit Relaxed<std::uint64_t> uniqueCounter;

static std::pair<std::string, int> debugLine;

/// The linker puts this in the place of the library's own.
extern "C" int __wrap_printFmtDBGFile(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    debugLine = {format, va_arg(arguments, int)};
    va_end(arguments);
    return 1;
}

namespace {

using fakes::calendar;

constexpr char RETRIES[] = "BqGMTime::tm_mutex needs %d retries for time conversion";
const std::string FAILED = Asserted("BqTime", {"(false)"});
const std::string ALL_FAILED = Asserted("BqTime", {"(false)", "(false)", "(false)", "(false)"});
const std::string DAYLIGHT = Asserted("BqTime", {"(0 == gmTime.tm_isdst)"});
const std::string CHANGED = Asserted("BqTime", {"(nCopyOfTime == *time)"});

TEST(Conversions, RepeatLocalTimeUntilTwoResultsAgreeAndNotGMT) {
    constexpr auto LOCAL = &BqGMTime::localtime, GM = &BqGMTime::gmtime;
    const struct {
        decltype(LOCAL) convert;
        const char *records, *calls;
        int hour, retries;
        std::string report;
        bool changes = false;
    } CASES[] = {{LOCAL, "aa", "ll", 'a', 0, ""},
                 {LOCAL, "abb", "lll", 'b', 0, ""},
                 {LOCAL, "abcc", "llll", 'c', 1, ""},
                 {LOCAL, "abcdef", "llllll", 'e', 4, ""},
                 {LOCAL, "-a", "l", 0, 0, FAILED},
                 {LOCAL, "abc-c", "llll", 'c', 1, ""},
                 {LOCAL, "a", "ll", 'a', 0, CHANGED, true},
                 {GM, "ab", "g", 'a', 0, CHANGED, true},
                 {GM, "-a", "g", 0, 0, FAILED}};
    for (const auto& row : CASES) {
        SCOPED_TRACE(row.records);
        std::int32_t seconds = 5;
        calendar = {.records = row.records, .changing = row.changes ? &seconds : nullptr};
        const bool expected = std::strchr(row.records, '-') == nullptr;
        bool success = !expected;
        EXPECT_EQ(ReportOf([&] { EXPECT_EQ(row.convert(&seconds, &success).tm_hour, row.hour); }),
                  row.report);
        EXPECT_EQ(std::tuple(success, calendar.calls), std::tuple(expected, row.calls));
        EXPECT_EQ(std::exchange(debugLine, {}),
                  std::pair(std::string(row.retries != 0 ? RETRIES : ""), row.retries));
    }
}

TEST(Conversions, ReadFieldsAndReportAFailure) {
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
        EXPECT_EQ(std::tuple(result, success, record.tm_min, record.tm_hour, calendar.calls),
                  std::tuple(row.seconds.back(), row.success, row.minute, row.hour, row.calls));
    }
    calendar = {.seconds = {-3600, 5, 0x7FFFFFFF}, .zones = {-3600, 7200, -2}};
    struct tm record {};
    for (const int seconds : {0, -7195, -0x7FFFFFFF})
        EXPECT_EQ(BqGMTime::timegm(&record), seconds);
    EXPECT_EQ(calendar.calls, "zmzmzm") << "the zone is read anew";
    EXPECT_EQ(record.tm_min, 0) << "not written back";
}

TEST(Conversions, TakeTheOffsetFromStandardTimesEachCountedFromGMT) {
    const struct {
        __int64 instant;
        fakes::Calendar calendar;
        int offset;
        const char* calls;
        std::string report;
        bool daylight = true;
    } CASES[] = {
        {5000, {.seconds = {100, 0}, .zones = {-60, -30}}, 130'000, "gllmm", ""},
        {6000, {.seconds = {3'000'000, 0}}, -1'294'967'296, "gllmm", ""},
        {7000, {.gmDaylight = 1, .seconds = {5, 5}}, 0, "gllmM", DAYLIGHT},
        {8000, {.records = "-", .seconds = {-1}}, 0, "glmmmm", ALL_FAILED, false},
        {-1, {}, 0, "", ""},
        {0, {}, 0, "", ""},
    };
    for (const auto& row : CASES) {
        SCOPED_TRACE(row.instant);
        calendar = row.calendar;
        int offset = -1;
        bool daylight = row.instant <= 0;
        const BqGMTime instant(row.instant);
        const auto convert = [&] { offset = instant.getLocalTimeMsecOffset(instant, &daylight); };
        EXPECT_EQ(ReportOf(convert), row.report);
        EXPECT_EQ(std::tuple(offset, daylight, calendar.calls),
                  std::tuple(row.offset, row.daylight, row.calls));
    }
}

TEST(Conversions, ShowTheEpochWhereTheClockFails) {
    for (const auto& [now, milliseconds] : {std::pair(-1, 0LL), {0x7FFFFFFF, 2'147'483'647'000}}) {
        calendar = {.now = now};
        std::int32_t stored = 1;
        EXPECT_EQ(BqGMTime::time(&stored), now);
        EXPECT_EQ(stored, now);
        EXPECT_EQ(BqGMTime::getCurrentTime(), BqGMTime(milliseconds));
    }
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
        calendar = {.now = row.seconds, .randoms = row.randoms};
        fakes::milliseconds = row.clock;
        uniqueCounter = row.counter;
        const auto id = static_cast<std::uint64_t>(create_unique_id());
        EXPECT_EQ(std::tuple(id, std::uint64_t{uniqueCounter}, calendar.calls),
                  std::tuple(row.id, row.counterAfter, row.calls))
            << row.what;
    }
}

}  // namespace
