#include "utilities/platform/linux/zonerule.h"

#include <algorithm>

#include "utilities/platform/linux/civil.h"

namespace platform {

namespace {

constexpr int FIRST_YEAR = 1901;
constexpr int LAST_YEAR = 2038;
constexpr std::string_view USUAL_CHANGES = ",M3.2.0,M11.1.0";

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

/// Takes a rule from the front of a text, piece by piece. Each piece tells whether it was there.
class RuleReader {
public:
    explicit RuleReader(std::string_view text) : rest(text) {}

    bool IsAtEnd() const { return rest.empty(); }

    bool Rule(ZoneRule& rule) {
        std::int32_t west = 0;
        if (!Name(rule.standard.name) || !Time(west, 24))
            return false;
        rule.standard.offset = -west;
        rule.standard.isDaylight = false;
        rule.hasDaylight = !IsAtEnd();
        return !rule.hasDaylight || Daylight(rule);
    }

private:
    bool Daylight(ZoneRule& rule) {
        if (!Name(rule.daylight.name))
            return false;
        std::int32_t west = -rule.standard.offset - 3600;
        if (!IsAtEnd() && rest[0] != ',' && !Time(west, 24))
            return false;
        rule.daylight.offset = -west;
        rule.daylight.isDaylight = true;
        if (IsAtEnd())
            rest = USUAL_CHANGES;
        return Change(rule.start) && Change(rule.end) && IsAtEnd();
    }

    bool Skip(char wanted) {
        if (IsAtEnd() || rest[0] != wanted)
            return false;
        rest.remove_prefix(1);
        return true;
    }

    bool Number(int& number, int least, int most) {
        std::size_t length = 0;
        for (number = 0; length < rest.size() && IsDigit(rest[length]) && length < 4; ++length)
            number = number * 10 + (rest[length] - '0');
        rest.remove_prefix(length);
        return length > 0 && number >= least && number <= most;
    }

    /// Three letters or more, or anything in angle brackets.
    bool Name(const char*& name) {
        const bool isQuoted = Skip('<');
        const auto isOutside = [isQuoted](char c) { return isQuoted ? c == '>' : !IsLetter(c); };
        const auto length = static_cast<std::size_t>(
            std::find_if(rest.begin(), rest.end(), isOutside) - rest.begin());
        if (length < 3)
            return false;
        name = KeepName(rest.substr(0, length));
        rest.remove_prefix(length);
        return !isQuoted || Skip('>');
    }

    /// [+|-]hh[:mm[:ss]]
    bool Time(std::int32_t& seconds, int mostHours) {
        const bool isNegative = Skip('-');
        if (!isNegative)
            Skip('+');
        int hours = 0, minutes = 0, second = 0;
        if (!Number(hours, 0, mostHours))
            return false;
        if (Skip(':') && (!Number(minutes, 0, 59) || (Skip(':') && !Number(second, 0, 59))))
            return false;
        seconds = (hours * 60 + minutes) * 60 + second;
        seconds = isNegative ? -seconds : seconds;
        return true;
    }

    bool Date(ZoneChange& change) {
        if (Skip('M')) {
            change.form = ZoneChange::WEEKDAY;
            return Number(change.month, 1, 12) && Skip('.') && Number(change.week, 1, 5) &&
                   Skip('.') && Number(change.day, 0, 6);
        }
        change.form = Skip('J') ? ZoneChange::JULIAN : ZoneChange::DAY;
        return Number(change.day, change.form == ZoneChange::JULIAN ? 1 : 0, 365);
    }

    bool Change(ZoneChange& change) {
        change.time = 2 * 3600;
        return Skip(',') && Date(change) && (!Skip('/') || Time(change.time, 167));
    }

    std::string_view rest;
};

std::int64_t NthWeekday(int year, const ZoneChange& change) {
    const std::int64_t first = FirstDayOf(year, change.month - 1);
    const std::int64_t next =
        change.month == 12 ? FirstDayOf(year + 1, 0) : FirstDayOf(year, change.month);
    const std::int64_t weekday = (first + 4) - FloorDivide(first + 4, 7) * 7;
    std::int64_t day = first + (change.day - weekday + 7) % 7 + 7 * (change.week - 1);
    while (day >= next)
        day -= 7;
    return day;
}

}  // namespace

std::int64_t ZoneChange::In(int year) const {
    std::int64_t date = FirstDayOf(year, 0) + day;
    if (form == WEEKDAY)
        date = NthWeekday(year, *this);
    else if (form == JULIAN)
        date -= day < 60 || !IsLeapYear(year) ? 1 : 0;
    return date * SECONDS_A_DAY + time;
}

bool ParseZoneRule(std::string_view text, ZoneRule& rule) { return RuleReader(text).Rule(rule); }

void AddChanges(Zone& zone, const ZoneRule& rule) {
    if (!rule.hasDaylight)
        return;
    const std::int64_t last = zone.LastFrom();
    for (int year = FIRST_YEAR; year <= LAST_YEAR; ++year) {
        const std::int64_t start = rule.start.In(year) - rule.standard.offset;
        const std::int64_t end = rule.end.In(year) - rule.daylight.offset;
        const bool startsFirst = start < end;
        for (const bool starts : {startsFirst, !startsFirst}) {
            const std::int64_t from = starts ? start : end;
            if (zone.Count() == 1 || from > last)
                zone.Add(from, starts ? rule.daylight : rule.standard);
        }
    }
}

}  // namespace platform
