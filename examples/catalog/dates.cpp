#include "dates.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

#include "localized.h"
#include "messages.h"

namespace {

constexpr char FORM[] = "dddd-dd-dd";
constexpr __int64 LAST_SHOWN = 24'837LL * 86'400 - 1;  // The end of 2037, up to the zone's offset.

bool HasForm(const std::string& text) {
    const auto fits = [](char c, char form) {
        return form == 'd' ? std::isdigit(static_cast<unsigned char>(c)) != 0 : c == form;
    };
    return std::equal(text.begin(), text.end(), FORM, FORM + sizeof FORM - 1, fits);
}

BqLocalDate DateOf(const std::string& option, const std::string& text) {
    BqLocalDate date;
    unsigned short year = 0;
    unsigned char month = 0, day = 0;
    if (HasForm(text)) {
        const int wantedYear = std::atoi(&text[0]), wantedMonth = std::atoi(&text[5]);
        const int wantedDay = std::atoi(&text[8]);
        date.set(static_cast<unsigned char>(wantedDay), static_cast<unsigned char>(wantedMonth),
                 static_cast<unsigned short>(wantedYear));
        // `set` takes a day that the month doesn't have for one of another month.
        date.get(&year, &month, &day, nullptr);
        if (year == wantedYear && month == wantedMonth && day == wantedDay)
            return date;
    }
    throw UsageError(option + " " + Escaped(text) +
                     ": not a date from 1971-01-01 to 2037-12-31, written like 2021-12-31");
}

/// The invalid time for one that is too early or too late to be shown.
BqGMTime InstantOf(__int64 seconds) {
    if (seconds < 0 || seconds > LAST_SHOWN)
        return BqGMTime();
    const BqGMTime instant(seconds * 1000);
    return instant.getLocalTimeOfDay(nullptr) < BqLocalTimeOfDay() ? BqGMTime() : instant;
}

// Rounded down, so that what was modified before 1970 isn't shown as of that year.
__int64 SecondsOf(const FileStatus& status) {
    constexpr __int64 NANOSECONDS_PER_SECOND = 1'000'000'000;
    return status.modified / NANOSECONDS_PER_SECOND -
           (status.modified % NANOSECONDS_PER_SECOND < 0 ? 1 : 0);
}

bool IsWithin(const BqDateRange& range, __int64 modified) {
    const BqGMTime instant = InstantOf(modified);
    const BqLocalDate unshown(modified > LAST_SHOWN ? BqLocalDate::MAX_DATE
                                                    : BqLocalDate::MIN_DATE);
    const BqLocalDate date = instant.isValid() ? instant.getLocalDate(nullptr) : unshown;
    return (range.getStart().IsMinDate() || date >= range.getStart()) &&
           (range.getEnd().IsMaxDate() || date <= range.getEnd());
}

}  // namespace

BqDateRange RangeOf(const CommandLine& line) {
    const String* const since = line.ValueOf("since");
    const String* const until = line.ValueOf("until");
    const BqDateRange all;
    return BqDateRange(since != nullptr ? DateOf("--since", *since) : all.getStart(),
                       until != nullptr ? DateOf("--until", *until) : all.getEnd());
}

void KeepModifiedWithin(const BqDateRange& range, const Descriptor& root,
                        std::vector<std::string>& files) {
    if (range == BqDateRange())
        return;
    std::erase_if(files, [&](const std::string& path) {
        FileStatus status;
        return ReadFileStatus(root, path, status) && !IsWithin(range, SecondsOf(status));
    });
}

String ShownTime(__int64 seconds) { return Localized(InstantOf(seconds)); }

String ShownModification(const FileStatus& status) { return ShownTime(SecondsOf(status)); }
