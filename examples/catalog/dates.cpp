#include "dates.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <ctime>

#include "localized.h"
#include "messages.h"

namespace {

constexpr char FORM[] = "dddd-dd-dd";
constexpr __int64 LAST_LOCALIZED = 24'837LL * 86'400 - 1;  // The end of 2037, up to the offset.

bool HasForm(const std::string& text) {
    const auto fits = [](char c, char form) {
        return form == 'd' ? std::isdigit(static_cast<unsigned char>(c)) != 0 : c == form;
    };
    return std::equal(text.begin(), text.end(), FORM, FORM + sizeof FORM - 1, fits);
}

/// A number for a day, greater for later ones.
__int64 DayOf(const std::tm& time) {
    return (static_cast<__int64>(time.tm_year) * 12 + time.tm_mon) * 31 + time.tm_mday;
}

std::tm LocalTimeOf(__int64 seconds) {
    const std::time_t time = seconds;
    std::tm local = {};
    // Fails for years that an `int` can't hold.
    if (localtime_r(&time, &local) == nullptr)
        local.tm_year = seconds < 0 ? INT_MIN : INT_MAX;
    return local;
}

std::optional<__int64> DateOf(const CommandLine& line, const char* option) {
    const String* const text = line.ValueOf(option);
    if (text == nullptr)
        return std::nullopt;
    if (HasForm(*text)) {
        std::tm date = {};
        date.tm_year = std::atoi(text->c_str()) - 1900;
        date.tm_mon = std::atoi(text->c_str() + 5) - 1;
        date.tm_mday = std::atoi(text->c_str() + 8);
        const __int64 wanted = DayOf(date);
        const int month = date.tm_mon;
        // A day that the month doesn't have becomes one of another month.
        if (timegm(&date) != -1 && DayOf(date) == wanted && date.tm_mon == month)
            return wanted;
    }
    throw UsageError("--" + String(option) + " " + Escaped(*text) +
                     ": not a date, written like 2021-12-31");
}

/// As in 2021-12-31 23:59:59, with any character between date and time.
String IsoOf(const std::tm& time, char between) {
    const __int64 year = time.tm_year + 1900LL;
    const std::string digits = std::to_string(year < 0 ? -year : year);
    std::string text = year < 0 ? "-" : "";
    text.append(4 - std::min<std::size_t>(4, digits.size()), '0').append(digits);
    const struct {
        char before;
        int number;
    } parts[] = {{'-', time.tm_mon + 1},
                 {'-', time.tm_mday},
                 {between, time.tm_hour},
                 {':', time.tm_min},
                 {':', time.tm_sec}};
    for (const auto& [before, number] : parts)
        text.append(
            {before, static_cast<char>('0' + number / 10), static_cast<char>('0' + number % 10)});
    return String(std::move(text));
}

}  // namespace

DateRange::DateRange(const CommandLine& line)
    : m_First(DateOf(line, "since")), m_Last(DateOf(line, "until")) {}

bool DateRange::Has(__int64 seconds) const {
    if (!m_First && !m_Last)
        return true;
    const __int64 day = DayOf(LocalTimeOf(seconds));
    return (!m_First || day >= *m_First) && (!m_Last || day <= *m_Last);
}

TimeFormat::TimeFormat(const CommandLine& line) {
    const String* const form = line.ValueOf("dates");
    m_IsLocalized = form != nullptr && *form == "locale";
    if (form != nullptr && !m_IsLocalized && *form != "iso")
        throw UsageError("--dates " + Escaped(*form) + ": neither iso nor locale");
}

String TimeFormat::Shown(__int64 seconds) const {
    if (m_IsLocalized && seconds >= 0 && seconds <= LAST_LOCALIZED) {
        const BqGMTime instant(seconds * 1000);
        if (instant.getLocalTimeOfDay(nullptr) >= BqLocalTimeOfDay())
            return Localized(instant);
    }
    return IsoOf(LocalTimeOf(seconds), ' ');
}

String UniversalTime(__int64 seconds, std::uint32_t nanoseconds) {
    const std::time_t time = seconds;
    std::tm universal = {};
    gmtime_r(&time, &universal);
    String fraction;
    fraction.Format(".%09uZ", nanoseconds);
    return IsoOf(universal, 'T') + fraction;
}
