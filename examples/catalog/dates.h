/// How times are shown, and the days that the user asks for.
#ifndef CATALOG_DATES_H
#define CATALOG_DATES_H

#include <optional>

#include "commandline.h"
#include "entry.h"

/// The days from `--since DATE` to `--until DATE`, in the user's zone.
class DateRange {
public:
    /// A date that is not written like 2021-12-31, or doesn't exist, is thrown as `UsageError`.
    explicit DateRange(const CommandLine& line);

    /// Whether a time, in seconds since 1970, is in the range.
    bool Has(__int64 seconds) const;

private:
    std::optional<__int64> m_First, m_Last;
};

/// Shows times, in seconds since 1970, in the user's zone: as 2021-12-31 23:59:59, or with `--dates
/// locale` as the user's locale writes them, as far as the library's times reach, from 1971 to
/// 2037.
class TimeFormat {
public:
    /// Any other form is thrown as `UsageError`.
    explicit TimeFormat(const CommandLine& line);

    String Shown(__int64 seconds) const;

private:
    bool m_IsLocalized;
};

/// A time in UTC, as 2021-12-31T23:59:59.000000000Z.
String UniversalTime(__int64 seconds, std::uint32_t nanoseconds);

#endif
