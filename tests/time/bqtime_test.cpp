#include "utilities/time/bqtime.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <iomanip>
#include <locale>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/report_of.h"
#include "tests/support/zone.h"
#include "utilities/platform/calendar.h"

namespace {

const std::string FAILED = Asserted("BqTime", {"(false)"});
constexpr __int64 LAST = 4'294'967'295'000;
constexpr unsigned __int64 MOST = ~0ULL;
constexpr int A_DAY = platform::MILLISECONDS_A_DAY;

template <class Time, class Amount>
void Expect(auto before, void (Time::*change)(Amount), std::type_identity_t<Amount> amount,
            decltype(Time().getMilliSeconds()) after) {
    Time time(before);
    (time.*change)(amount);
    EXPECT_EQ(time.getMilliSeconds(), after) << before << " by " << amount;
}

TEST(Arithmetic, StopsAtTheEnds) {
    using Time = BqGMTime;
    Expect(LAST - 7, &Time::addMilliSeconds, 8, LAST);
    Expect(-LAST, &Time::addMilliSeconds, MOST, 0);
    Expect(0, &Time::addSeconds, MOST / 1000 + 1, 384);
    Expect(0, &Time::addMinutes, 71'582'788, 4'294'967'280'000);
    Expect(1, &Time::addHours, 1'193'046, 4'294'965'600'001);
    Expect(LAST + 9, &Time::addHours, 0, LAST);
    Expect(static_cast<__int64>(MOST >> 1), &Time::addSeconds, 1, -0x7FFFFFFFFFFFFC19);
    Expect(2 * LAST, &Time::subMilliSeconds, MOST, LAST);
    Expect(-1, &Time::subSeconds, 0, 0);
    Expect(999, &Time::subSeconds, MOST / 1000 + 1, 615);
    Expect(LAST, &Time::subMinutes, 71'582'788, 15'000);
    Expect(LAST, &Time::subHours, 1'193'046, 1'695'000);
    using Day = BqLocalTimeOfDay;
    Expect(-5, &Day::addMilliSeconds, 0xFFFFFFFF, A_DAY - 5);
    Expect(0, &Day::addSeconds, 4'294'968, 704);
    Expect(5, &Day::addMinutes, 1439, A_DAY - 59'995);
    Expect(0, &Day::addHours, 255, A_DAY);
    Expect(7, &Day::subMilliSeconds, 0xFFFFFFFF, 0);
    Expect(1000, &Day::subSeconds, 4'294'968, 296);
    Expect(A_DAY, &Day::subMinutes, 1439, 60'000);
    Expect(A_DAY, &Day::subHours, 23, 3'600'000);
}

TEST(Comparison, IsThatOfTheNumbers) {
    const auto expect = [](const auto& x, const auto& y) {
        const auto compared = [](const auto& a, const auto& b) {
            return std::vector<bool>{a > b, a >= b, a == b, a != b, a <= b, a < b};
        };
        EXPECT_EQ(compared(x, y), (std::vector<bool>{false, false, false, true, true, true}));
        EXPECT_EQ(compared(y, x), (std::vector<bool>{true, true, false, true, false, false}));
        EXPECT_EQ(compared(x, x), (std::vector<bool>{false, true, true, false, true, false}));
    };
    expect(BqGMTime(), BqGMTime(0LL));
    expect(BqGMTime(LAST), BqGMTime(LAST + 1));
    expect(BqLocalDate(-1), BqLocalDate(0));
    expect(BqLocalTimeOfDay(-1), BqLocalTimeOfDay(A_DAY));
}

TEST(BqLocalDate, CollapsesYearsAndNormalisesDaysAndRefusesOthers) {
    const auto fields = [](const BqLocalDate& date) {
        unsigned short year = 0;
        unsigned char month = 0, day = 0;
        VY_DAY_OF_WEEK weekday = static_cast<VY_DAY_OF_WEEK>(9);
        date.get(&year, &month, &day, &weekday);
        return std::to_string(year) + "-" + std::to_string(month) + "-" + std::to_string(day) +
               " " + std::to_string(weekday);
    };
    const struct {
        unsigned char day, month;
        unsigned short year;
        int number, end;  ///< -1 for the least date, 1 for the last
        const char* fields;
    } CASES[] = {{31, 12, 1970, 5, -1, "1970-1-6 2"},      {1, 1, 1971, 365, 0, "1971-1-1 5"},
                 {0, 1, 1971, 364, -1, "1970-12-31 4"},    {1, 0, 2000, 10926, 0, "1999-12-1 3"},
                 {31, 12, 2037, 24836, 0, "2037-12-31 4"}, {12, 13, 2037, 24848, 1, "2038-1-12 2"},
                 {9, 9, 65535, 24842, 1, "2038-1-6 3"}};
    for (const auto& row : CASES) {
        BqLocalDate date;
        date.set(row.day, row.month, row.year);
        EXPECT_EQ(std::tuple(date.getDayNumber(), date.IsMaxDate() - date.IsMinDate()),
                  std::tuple(row.number, row.end))
            << row.fields;
        EXPECT_EQ(fields(date), row.fields);
    }
    for (const int number : {-1, 24856}) {
        const BqLocalDate date(number);
        EXPECT_EQ(ReportOf([&] { EXPECT_EQ(fields(date), "1970-1-6 9"); }), FAILED + FAILED);
        EXPECT_EQ(ReportOf([&] { EXPECT_EQ(date.getDayOfWeek(), VY_DAY_OF_WEEK_SUNDAY); }), FAILED);
    }
    EXPECT_EQ(BqLocalDate(24855).getDayOfWeek(), VY_DAY_OF_WEEK_TUESDAY);
    BqLocalDate tooLate(9);
    EXPECT_EQ(ReportOf([&] { tooLate.set(1, 255, 2037); }), FAILED);
    EXPECT_EQ(tooLate.getDayNumber(), 0);
    const BqDateRange whole, late(BqLocalDate(5), BqLocalDate(24842));
    EXPECT_TRUE(whole == BqDateRange(BqLocalDate(0), BqLocalDate(24842)));
    EXPECT_TRUE(whole != late);
    EXPECT_TRUE(whole != BqDateRange(BqLocalDate(0), BqLocalDate(24841)));
}

TEST(DayOfWeek, MapsBothWays) {
    for (const auto& [day, number] : {std::pair(0, 6), {1, 0}, {6, 5}, {255, 255}}) {
        EXPECT_EQ(VyDayOfWeekToN(VY_DAY_OF_WEEK(day)), number);
        EXPECT_EQ(NToVyDayOfWeek(static_cast<unsigned char>(number)), day);
    }
    for (const int day : {-1, 7})
        EXPECT_EQ(ReportOf([=] { EXPECT_EQ(VyDayOfWeekToN(VY_DAY_OF_WEEK(day)), 255); }),
                  Asserted("BqTime", {"(VyDayOfWeek >= VY_DAY_OF_WEEK_SUNDAY && VyDayOfWeek <= "
                                      "VY_DAY_OF_WEEK_SATURDAY)"}));
    EXPECT_EQ(ReportOf([] { EXPECT_EQ(NToVyDayOfWeek(7), 255); }),
              Asserted("BqTime", {"(nDayOfWeek >= 0 && nDayOfWeek <= 6)"}));
}

TEST(BqGMTime, SplitsIntoDateAndTimeOfDayAndIsMadeOfThem) {
    const struct {
        __int64 value;
        int offset, day, timeOfDay;
    } CASES[] = {{-1, 5, 0, 0},
                 {1000, -3'600'000, 0, -3'599'000},
                 {A_DAY, -1, 0, A_DAY - 1},
                 {-A_DAY - 1LL, 0, -1, -1},
                 {LAST, 0x7FFFFFFF, 49735, 10'778'647}};
    for (const auto& [value, offset, day, timeOfDay] : CASES) {
        const BqGMTime instant(value);
        EXPECT_EQ(instant.getLocalDate(&offset), BqLocalDate(day)) << value;
        EXPECT_EQ(instant.getLocalTimeOfDay(&offset), BqLocalTimeOfDay(timeOfDay)) << value;
    }
    std::int32_t now = 0;
    EXPECT_EQ(BqGMTime::time(&now), now);
    EXPECT_LE(std::abs(std::time(nullptr) - now), 1);
    EXPECT_EQ(BqGMTime(BqLocalTimeOfDay(-7), BqLocalDate(-3), false), BqGMTime(-3LL * A_DAY - 7));
    const ScopedZone zone("Europe/Berlin");
    // Clocks go from 2 to 3 at 1:00 GMT on 2021-03-28, day 18714.
    for (const auto& [hour, ahead] : {std::pair(0, 1), {1, 2}, {3, 2}})
        EXPECT_EQ(BqGMTime(BqLocalTimeOfDay(hour * 3'600'000), BqLocalDate(18714), true),
                  BqGMTime(18714LL * A_DAY + (hour - ahead) * 3'600'000LL))
            << hour;
}

TEST(Output, IsThatOfTheLocalesFacet) {
    /// Writes the form that it is called with.
    struct OwnFormat : std::time_put<char> {
        iter_type do_put(iter_type out, std::ios_base&, char fill, const struct tm*, char form,
                         char modifier) const override {
            return *out = fill == '\0' && modifier == '\0' ? form : '!', out;
        }
    };
    const ScopedZone zone("America/New_York");
    const std::locale facet(std::locale::classic(), new std::time_put<char>);
    const std::locale own(facet, new OwnFormat);
    struct Full : std::streambuf {
    } full;
    for (const std::locale& locale : {std::locale::classic(), facet, own}) {
        std::ostringstream out;
        out.imbue(locale);
        out << std::setfill('*') << std::setw(4) << BqLocalDate(0) << BqLocalTimeOfDay(A_DAY);
        EXPECT_EQ(out.width(), 4);
        out << BqGMTime(1'000'000'000'999) << std::setw(14) << BqGMTime();
        EXPECT_EQ(ReportOf([&] { out << BqLocalDate(-1); }), FAILED);
        out.setstate(std::ios::eofbit);
        EXPECT_EQ(ReportOf([&] { out << BqLocalDate(-1) << BqLocalTimeOfDay(-1) << BqGMTime(); }),
                  "");
        EXPECT_EQ(out.str(), locale == own
                                 ? "xXX*** x**Invalid timex"
                                 : "01/01/7000:00:0021:46:40*** 09/08/01**Invalid time01/00/00");
        std::ostream failing(&full);
        failing.imbue(locale);
        failing << BqLocalDate(0);
        EXPECT_EQ(failing.rdstate(), std::ios::failbit);
    }
}

}  // namespace
