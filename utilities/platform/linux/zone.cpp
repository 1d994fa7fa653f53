#include "utilities/platform/linux/zone.h"

#include <algorithm>

namespace platform {

namespace {

constexpr std::int32_t USUAL_SAVING = 3600;

/// Each name with its NUL, one behind the other; what is in there is never touched again.
constinit std::array<char, 4096> names{};
constinit std::size_t namesSize = 0;

}  // namespace

const char* KeepName(std::string_view name) {
    for (std::size_t at = 0; at < namesSize;) {
        const std::string_view kept(&names[at]);
        if (kept == name)
            return kept.data();
        at += kept.size() + 1;
    }
    if (name.size() >= names.size() - namesSize)
        return "";
    char* const place = &names[namesSize];
    std::copy(name.begin(), name.end(), place);
    namesSize += name.size() + 1;
    return place;
}

std::size_t Zone::IndexAt(std::int64_t instant) const {
    const auto isBefore = [](std::int64_t value, const ZoneSpan& span) {
        return value < span.from;
    };
    const auto first = spans.begin() + 1;
    const auto end = spans.begin() + static_cast<std::ptrdiff_t>(count);
    return static_cast<std::size_t>(std::upper_bound(first, end, instant, isBefore) - first);
}

void Zone::Begin(const ZoneClock& clock) {
    spans[0] = {std::numeric_limits<std::int64_t>::min(), clock, 0};
    count = 1;
}

void Zone::Add(std::int64_t from, const ZoneClock& clock) {
    // Clocks up to 26 hours ahead or behind show the first and last instants.
    constexpr std::int64_t REACH = 2 * 86'400;
    const bool isFirst = from < std::numeric_limits<std::int32_t>::min() - REACH;
    if (isFirst && count == 1)
        return Begin(clock);
    if (from > std::numeric_limits<std::int32_t>::max() + REACH || from < LastFrom())
        return;
    if (from > LastFrom() && count == spans.size())
        return;
    if (from > LastFrom())
        ++count;
    spans[count - 1] = {from, clock, 0};
}

void Zone::Finish() {
    const auto isStandard = [](const ZoneSpan& span) { return !span.clock.isDaylight; };
    const auto end = spans.begin() + static_cast<std::ptrdiff_t>(count);
    const ZoneSpan* before = nullptr;
    for (auto span = spans.begin(); span != end; ++span) {
        if (isStandard(*span)) {
            before = &*span;
            span->standard = span->clock.offset;
            continue;
        }
        // A zone can enter another standard time with daylight saving, or leave its own: the usual
        // saving tells which one is behind it.
        const auto after = std::find_if(span, end, isStandard);
        const std::int32_t offset = span->clock.offset;
        const std::int32_t last = before != nullptr ? before->clock.offset : offset - USUAL_SAVING;
        const std::int32_t next = after != end ? after->clock.offset : last;
        span->standard = next == offset - USUAL_SAVING || before == nullptr ? next : last;
    }
}

}  // namespace platform
