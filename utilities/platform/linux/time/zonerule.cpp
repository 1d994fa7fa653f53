#include "utilities/platform/linux/time/zonerule.h"

#include <algorithm>

#include "utilities/platform/calendar.h"
#include "utilities/platform/linux/time/civil.h"

namespace platform {

namespace {

// The years that 32 bits of seconds reach into.
constexpr int FIRST_YEAR = 1901;
constexpr int LAST_YEAR = 2038;

/// The hours of an offset, and the numbers elsewhere in a rule, that count at most.
constexpr int MOST_HOURS = 24;
constexpr int MOST_NUMBER = 9999;

/// The second Sunday in March and the first one in November, at two o'clock.
constexpr ZoneChange USUAL_START{ZoneChange::WEEKDAY, 3, 2, 0, 2 * 3600};
constexpr ZoneChange USUAL_END{ZoneChange::WEEKDAY, 11, 1, 0, 2 * 3600};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsQuotable(char c) { return IsLetter(c) || IsDigit(c) || c == '+' || c == '-'; }

/// Reads a rule from the front of a text, element by element. Each function removes what it has
/// read, and those that return a bool return whether the element was there.
class RuleReader {
public:
    explicit RuleReader(std::string_view text) : m_Rest(text) {}

    bool Rule(ZoneRule& rule) {
        if (!Name(rule.standard.name) || !Offset(rule.standard.offset))
            return false;
        rule.hasDaylight = Name(rule.daylight.name);
        if (rule.hasDaylight) {
            if (!Offset(rule.daylight.offset))
                rule.daylight.offset = rule.standard.offset + 3600;
            rule.start = Change(USUAL_START);
            rule.end = Change(USUAL_END);
        }
        return true;
    }

private:
    bool Skip(char wanted) {
        if (m_Rest.empty() || m_Rest[0] != wanted)
            return false;
        m_Rest.remove_prefix(1);
        return true;
    }

    bool SkipBeforeDigit(char wanted) {
        return m_Rest.size() > 1 && IsDigit(m_Rest[1]) && Skip(wanted);
    }

    /// A number outside of the range becomes the nearest one in it.
    bool Number(int& number, int least, int most) {
        if (m_Rest.empty() || !IsDigit(m_Rest[0]))
            return false;
        for (number = 0; !m_Rest.empty() && IsDigit(m_Rest[0]); m_Rest.remove_prefix(1))
            number = std::min(number * 10 + (m_Rest[0] - '0'), MOST_NUMBER);
        number = std::clamp(number, least, most);
        return true;
    }

    /// Three letters or more, or three letters, digits and signs or more in angle brackets. Nothing
    /// is removed where there is no name.
    bool Name(std::string_view& name) {
        const bool isQuoted = !m_Rest.empty() && m_Rest[0] == '<';
        const std::string_view text = m_Rest.substr(isQuoted ? 1 : 0);
        const auto end =
            std::find_if_not(text.begin(), text.end(), isQuoted ? IsQuotable : IsLetter);
        const auto length = static_cast<std::size_t>(end - text.begin());
        if (length < 3 || (isQuoted && (end == text.end() || *end != '>')))
            return false;
        name = text.substr(0, length);
        m_Rest = text.substr(length + (isQuoted ? 1 : 0));
        return true;
    }

    /// [+|-]hh[:mm[:ss]], in seconds.
    bool Time(std::int32_t& seconds, int mostHours, int mostOther) {
        const bool isNegative = Skip('-');
        if (!isNegative)
            Skip('+');
        int hours = 0, minutes = 0, second = 0;
        if (!Number(hours, 0, mostHours))
            return false;
        if (SkipBeforeDigit(':') && Number(minutes, 0, mostOther) && SkipBeforeDigit(':'))
            Number(second, 0, mostOther);
        seconds = (hours * 60 + minutes) * 60 + second;
        seconds = isNegative ? -seconds : seconds;
        return true;
    }

    /// A rule counts offsets westwards.
    bool Offset(std::int32_t& offset) {
        std::int32_t west = 0;
        if (!Time(west, MOST_HOURS, 59))
            return false;
        offset = -west;
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

    /// ,date[/time], at two o'clock without a time. `usual` where there is no date.
    ZoneChange Change(const ZoneChange& usual) {
        ZoneChange change = usual;
        Skip(',');
        if (!Date(change))
            return usual;
        if (Skip('/'))
            Time(change.time, MOST_NUMBER, MOST_NUMBER);
        return change;
    }

    std::string_view m_Rest;
};

/// The day, counted from 1970-01-01, of a change of the form WEEKDAY.
std::int64_t DayOfWeekday(int year, const ZoneChange& change) {
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
        date = DayOfWeekday(year, *this);
    else if (form == JULIAN)
        date -= day < 60 || !IsLeapYear(year) ? 1 : 0;
    return date * SECONDS_A_DAY + time;
}

bool ParseZoneRule(std::string_view text, ZoneRule& rule) { return RuleReader(text).Rule(rule); }

void BeginZone(Zone& zone, const ZoneRule& rule) {
    zone.Begin({rule.standard.offset, false, zone.KeepName(rule.standard.name)});
}

void AddChanges(Zone& zone, const ZoneRule& rule) {
    if (!rule.hasDaylight)
        return;
    const ZoneClock standard{rule.standard.offset, false, zone.KeepName(rule.standard.name)};
    const ZoneClock daylight{rule.daylight.offset, true, zone.KeepName(rule.daylight.name)};
    const std::int64_t last = zone.LastFrom();
    for (int year = FIRST_YEAR; year <= LAST_YEAR; ++year) {
        const std::int64_t start = rule.start.In(year) - rule.standard.offset;
        const std::int64_t end = rule.end.In(year) - rule.daylight.offset;
        const bool startsFirst = start < end;
        for (const bool starts : {startsFirst, !startsFirst}) {
            const std::int64_t from = starts ? start : end;
            if (zone.Count() == 1 || from > last)
                zone.Add(from, starts ? daylight : standard);
        }
    }
}

}  // namespace platform
