#include "utilities/time/bqtime.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <iomanip>
#include <locale>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/report_of.h"
#include "tests/support/zone.h"
#include "utilities/threads/threadutils.h"

namespace {

constexpr char FAILED[] = "ASSERT((false) in: .\\BqTime  line #\n";
constexpr __int64 LAST = 4'294'967'295'000;
constexpr unsigned __int64 MOST = ~0ULL;
constexpr int A_DAY = 86'400'000;

std::string Fields(const BqLocalDate& date) {
    unsigned short year = 0;
    unsigned char month = 0, day = 0;
    VY_DAY_OF_WEEK weekday = static_cast<VY_DAY_OF_WEEK>(9);
    date.get(&year, &month, &day, &weekday);
    return std::to_string(year) + "-" + std::to_string(month) + "-" + std::to_string(day) + " " +
           std::to_string(weekday);
}

template <class Value>
std::string Text(const Value& value, const std::locale& locale = std::locale::classic()) {
    std::ostringstream out;
    out.imbue(locale);
    out << value;
    return out.str();
}

template <class Time, class Count>
struct Change {
    Count before;
    void (*change)(Time&);
    Count after;
};

template <class Time, class Count>
void Check(const std::vector<Change<Time, Count>>& changes) {
    for (const auto& row : changes) {
        Time time(row.before);
        row.change(time);
        EXPECT_EQ(time.getMilliSeconds(), row.after) << "row " << &row - changes.data();
    }
}

TEST(BqGMTime, SumsAndDifferencesStopAtTheEnds) {
    using Time = BqGMTime;
    Check<Time, __int64>({{LAST - 7, [](Time& t) { t.addMilliSeconds(7); }, LAST},
                          {LAST - 7, [](Time& t) { t.addMilliSeconds(8); }, LAST},
                          {-LAST, [](Time& t) { t.addMilliSeconds(MOST); }, 0},
                          {-1, [](Time& t) { t.addSeconds(1); }, 999},
                          {0, [](Time& t) { t.addSeconds(MOST / 1000 + 1); }, 384},
                          {0, [](Time& t) { t.addMinutes(71'582'788); }, 4'294'967'280'000},
                          {0, [](Time& t) { t.addMinutes(0xFFFFFFFF); }, LAST},
                          {1, [](Time& t) { t.addHours(1'193'046); }, 4'294'965'600'001},
                          {LAST + 9, [](Time& t) { t.addHours(0); }, LAST},
                          {MOST >> 1, [](Time& t) { t.addSeconds(1); }, -0x7FFFFFFFFFFFFC19},
                          {9, [](Time& t) { t.subMilliSeconds(MOST); }, 0},
                          {2 * LAST, [](Time& t) { t.subMilliSeconds(MOST); }, LAST},
                          {-1, [](Time& t) { t.subSeconds(0); }, 0},
                          {999, [](Time& t) { t.subSeconds(MOST / 1000 + 1); }, 615},
                          {120'001, [](Time& t) { t.subMinutes(2); }, 1},
                          {LAST, [](Time& t) { t.subHours(1'193'046); }, 1'695'000}});
}

TEST(BqLocalTimeOfDay, SumsAndDifferencesStopAtTheEndsOfTheDay) {
    using Time = BqLocalTimeOfDay;
    Check<Time, int>({{1, [](Time& t) { t.addMilliSeconds(A_DAY - 1); }, A_DAY},
                      {-5, [](Time& t) { t.addMilliSeconds(0xFFFFFFFF); }, A_DAY - 5},
                      {0, [](Time& t) { t.addSeconds(4'294'968); }, 704},
                      {5, [](Time& t) { t.addMinutes(1439); }, A_DAY - 59'995},
                      {0, [](Time& t) { t.addMinutes(65'535); }, A_DAY},
                      {5, [](Time& t) { t.addHours(23); }, 82'800'005},
                      {0, [](Time& t) { t.addHours(255); }, A_DAY},
                      {7, [](Time& t) { t.subMilliSeconds(0xFFFFFFFF); }, 0},
                      {1000, [](Time& t) { t.subSeconds(4'294'968); }, 296},
                      {A_DAY, [](Time& t) { t.subMinutes(1439); }, 60'000},
                      {A_DAY, [](Time& t) { t.subHours(23); }, 3'600'000},
                      {-7, [](Time& t) { t.subHours(1); }, 0}});
}

TEST(BqLocalDate, SetCollapsesYearsAndNormalisesDays) {
    const struct {
        unsigned char day, month;
        unsigned short year;
        int number;
        bool isMin, isMax;
        const char* fields;
    } CASES[] = {{31, 12, 1970, 5, true, false, "1970-1-6 2"},
                 {1, 1, 1971, 365, false, false, "1971-1-1 5"},
                 {31, 2, 2001, 11384, false, false, "2001-3-3 6"},
                 {0, 1, 1971, 364, true, false, "1970-12-31 4"},
                 {1, 0, 2000, 10926, false, false, "1999-12-1 3"},
                 {31, 12, 2037, 24836, false, false, "2037-12-31 4"},
                 {12, 13, 2037, 24848, false, true, "2038-1-12 2"},
                 {1, 1, 2038, 24842, false, true, "2038-1-6 3"},
                 {9, 9, 65535, 24842, false, true, "2038-1-6 3"}};
    for (const char* zone : {"UTC", "Pacific/Kiritimati", "Pacific/Pago_Pago", "Europe/Dublin"}) {
        const ScopedZone scope(zone);
        for (const auto& row : CASES) {
            BqLocalDate date;
            date.set(row.day, row.month, row.year);
            EXPECT_EQ(date.getDayNumber(), row.number) << row.fields;
            EXPECT_EQ(Fields(date), row.fields);
            EXPECT_EQ(date.IsMinDate(), row.isMin) << row.fields;
            EXPECT_EQ(date.IsMaxDate(), row.isMax) << row.fields;
        }
    }
}

TEST(BqLocalDate, DaysThatCannotBeConvertedAreThoseOfTheSmallestDate) {
    for (const int number : {-1, 24856, 40000}) {
        const BqLocalDate date(number);
        EXPECT_EQ(ReportOf([&] { EXPECT_EQ(Fields(date), "1970-1-6 9"); }),
                  std::string(FAILED) + FAILED);
        EXPECT_EQ(ReportOf([&] { EXPECT_EQ(date.getDayOfWeek(), VY_DAY_OF_WEEK_SUNDAY); }), FAILED);
    }
    BqLocalDate tooLate(9);
    EXPECT_EQ(ReportOf([&] { tooLate.set(1, 255, 2037); }), FAILED);
    EXPECT_EQ(tooLate.getDayNumber(), 0);
    unsigned short year;
    unsigned char month, day;
    BqLocalDate(24855).get(&year, &month, &day, nullptr);
    EXPECT_EQ(std::tuple(year, month, day), std::tuple(2038, 1, 19));
}

TEST(BqDateRange, ComparesBothEnds) {
    const BqDateRange whole;
    EXPECT_TRUE(whole == BqDateRange(BqLocalDate(0), BqLocalDate(24842)));
    EXPECT_TRUE(whole != BqDateRange(BqLocalDate(5), BqLocalDate(24842)));
    EXPECT_TRUE(whole != BqDateRange(BqLocalDate(0), BqLocalDate(24841)));
}

TEST(DayOfWeek, MapsBothWays) {
    for (const int day : {0, 1, 2, 3, 4, 5, 6, 255}) {
        const auto number = static_cast<unsigned char>(day == 255 ? 255 : day == 0 ? 6 : day - 1);
        const auto weekday = static_cast<VY_DAY_OF_WEEK>(day);
        EXPECT_EQ(VyDayOfWeekToN(weekday), number);
        EXPECT_EQ(NToVyDayOfWeek(number), weekday);
    }
    for (const int day : {-1, 7, 254, 256})
        EXPECT_EQ(
            ReportOf([day] { EXPECT_EQ(VyDayOfWeekToN(static_cast<VY_DAY_OF_WEEK>(day)), 255); }),
            "ASSERT((VyDayOfWeek >= VY_DAY_OF_WEEK_SUNDAY && VyDayOfWeek <= "
            "VY_DAY_OF_WEEK_SATURDAY) in: .\\BqTime  line #\n");
    for (const unsigned char number : std::vector<unsigned char>{7, 254})
        EXPECT_EQ(ReportOf([number] { EXPECT_EQ(NToVyDayOfWeek(number), 255); }),
                  "ASSERT((nDayOfWeek >= 0 && nDayOfWeek <= 6) in: .\\BqTime  line #\n");
}

TEST(BqGMTime, SplitsIntoDateAndTimeOfDayTowardsZero) {
    const struct {
        __int64 value;
        int offset, day, timeOfDay;
    } CASES[] = {{-1, 5, 0, 0},
                 {1000, -3'600'000, 0, -3'599'000},
                 {A_DAY, -1, 0, A_DAY - 1},
                 {A_DAY, 0, 1, 0},
                 {-A_DAY - 1LL, 0, -1, -1},
                 {LAST, 0, 49710, 23'295'000},
                 {LAST, 0x7FFFFFFF, 49735, 10'778'647}};
    for (const auto& row : CASES) {
        EXPECT_EQ(BqGMTime(row.value).getLocalDate(&row.offset).getDayNumber(), row.day);
        EXPECT_EQ(BqGMTime(row.value).getLocalTimeOfDay(&row.offset).getMilliSeconds(),
                  row.timeOfDay);
    }
    EXPECT_EQ(BqGMTime(BqLocalTimeOfDay(-7), BqLocalDate(-3), false).getMilliSeconds(),
              -3LL * A_DAY - 7);
}

TEST(BqGMTime, IsMadeOfLocalTimeWithTheOffsetOfGMTClocks) {
    const ScopedZone zone("Europe/Berlin");
    // Clocks go from 2 to 3 at 1:00 GMT on 2021-03-28, day 18714.
    for (const auto& [hour, ahead] : {std::pair(0, 1), {1, 2}, {2, 2}, {3, 2}})
        EXPECT_EQ(BqGMTime(BqLocalTimeOfDay(hour * 3'600'000), BqLocalDate(18714), true),
                  BqGMTime(18714LL * A_DAY + (hour - ahead) * 3'600'000LL))
            << hour;
}

/// Writes what it is asked for and the day of the month.
struct OwnFormat : std::time_put<char> {
    iter_type do_put(iter_type out, std::ios_base&, char fill, const struct tm* record, char form,
                     char modifier) const override {
        EXPECT_TRUE(fill == '\0' && modifier == '\0');
        const std::string text = form + std::to_string(record->tm_mday);
        return std::copy(text.begin(), text.end(), out);
    }
};

TEST(Output, IsThatOfTheLocalesFacet) {
    const ScopedZone zone("America/New_York");
    const std::locale facet(std::locale::classic(), new std::time_put<char>);
    for (const std::locale& locale : {std::locale::classic(), facet}) {
        EXPECT_EQ(Text(BqLocalDate(BqLocalDate::MIN_DATE), locale), "01/06/70");
        EXPECT_EQ(Text(BqLocalDate(15338), locale), "12/30/11");
        EXPECT_EQ(Text(BqLocalTimeOfDay(3'661'500), locale), "01:01:01");
        EXPECT_EQ(Text(BqLocalTimeOfDay(A_DAY), locale), "00:00:00");
        EXPECT_EQ(Text(BqGMTime(1'000'000'000'000), locale), "21:46:40 09/08/01");
        for (const int day : {-1, 24856})
            EXPECT_EQ(ReportOf([&] { EXPECT_EQ(Text(BqLocalDate(day), locale), "01/00/00"); }),
                      FAILED);
        EXPECT_EQ(ReportOf([&] { EXPECT_EQ(Text(BqLocalTimeOfDay(-1000), locale), "00:00:00"); }),
                  FAILED);
    }
    EXPECT_EQ(Text(BqGMTime(1'000'000'000'999), std::locale(facet, new OwnFormat)), "X1 x8");
}

TEST(Output, LeavesTheStreamsLayoutToTheBlank) {
    const ScopedZone zone("UTC");
    std::ostringstream out;
    out << std::setfill('*') << std::setw(4) << BqLocalDate(0) << BqLocalTimeOfDay(0);
    EXPECT_EQ(out.width(), 4);
    out << BqGMTime(1000) << std::setw(14) << BqGMTime();
    EXPECT_EQ(out.str(), "01/01/7000:00:0000:00:01*** 01/01/70**Invalid time");
}

TEST(Output, TellsOfAWriteThatFails) {
    struct Full : std::streambuf {
    } full;
    const std::locale facet(std::locale::classic(), new std::time_put<char>);
    for (const std::locale& locale : {std::locale::classic(), facet}) {
        std::ostream out(&full);
        out.imbue(locale);
        out << BqLocalDate(0);
        EXPECT_EQ(out.rdstate(), std::ios::failbit);
    }
    std::ostringstream bad;
    bad.setstate(std::ios::eofbit);
    EXPECT_EQ(ReportOf([&] { bad << BqLocalDate(-1) << BqLocalTimeOfDay(-1) << BqGMTime(); }), "");
    EXPECT_EQ(bad.str(), "");
}

// The others convert beside it, each in its own way.
TEST(Threads, AKilledOneLeavesTheCalendarToOthers) {
    static std::atomic<bool> runs;
    static constexpr auto Convert = [](SystemThread*) -> unsigned int {
        for (const BqGMTime instant(5000);; runs = true)
            instant.getLocalDate(nullptr);
    };
    testing::internal::CaptureStdout();
    for (int round = 0; round < 50; ++round) {
        runs = false;
        SystemThread thread("converts", Convert);
        ASSERT_TRUE(thread.Create(false, 0));
        while (!runs)
            BqLocalDate().set(1, 1, 2000);
        thread.Terminate(0);
        EXPECT_EQ(ReportOf([] { BqGMTime::getCurrentTime(); }), "");
    }
    testing::internal::GetCapturedStdout();
}

}  // namespace
