#include "utilities/platform/linux/time/zone.h"

#include <algorithm>

#include "utilities/platform/calendar.h"

namespace platform {

namespace {

/// By how much daylight saving time mostly is ahead of standard time.
constexpr std::int32_t USUAL_SAVING = 3600;

/// Clocks are up to 26 hours ahead or behind, so that changes this far beyond 32 bits of seconds
/// still matter to the first and last instants.
constexpr std::int64_t MARGIN = 2 * SECONDS_A_DAY;

}  // namespace

std::size_t Zone::IndexAt(std::int64_t instant) const {
    const auto isBefore = [](std::int64_t value, const ZoneSpan& span) {
        return value < span.from;
    };
    const auto first = m_Spans.begin() + 1;
    const auto end = m_Spans.begin() + static_cast<std::ptrdiff_t>(m_Count);
    return static_cast<std::size_t>(std::upper_bound(first, end, instant, isBefore) - first);
}

void Zone::Begin(const ZoneClock& clock) {
    m_Spans[0] = {std::numeric_limits<std::int64_t>::min(), clock, 0};
    m_Count = 1;
}

void Zone::Add(std::int64_t from, const ZoneClock& clock) {
    const bool isBeforeAll = from < std::numeric_limits<std::int32_t>::min() - MARGIN;
    if (isBeforeAll && m_Count == 1)
        return Begin(clock);
    if (from > std::numeric_limits<std::int32_t>::max() + MARGIN || from < LastFrom())
        return;
    if (from > LastFrom() && m_Count == m_Spans.size() - 1)
        return;
    if (from > LastFrom())
        ++m_Count;
    m_Spans[m_Count - 1] = {from, clock, 0};
}

void Zone::Finish() {
    m_Spans[m_Count].from = std::numeric_limits<std::int64_t>::max();
    const auto isStandard = [](const ZoneSpan& span) { return !span.clock.isDaylight; };
    const auto end = m_Spans.begin() + static_cast<std::ptrdiff_t>(m_Count);
    const ZoneSpan* before = nullptr;
    for (auto span = m_Spans.begin(); span != end; ++span) {
        if (isStandard(*span)) {
            before = &*span;
            span->standard = span->clock.offset;
            continue;
        }
        // A zone can enter another standard time at the same moment as daylight saving, or leave it
        // so. The standard time that daylight saving is the usual hour ahead of is the right one.
        const auto after = std::find_if(span, end, isStandard);
        const std::int32_t offset = span->clock.offset;
        const std::int32_t last = before != nullptr ? before->clock.offset : offset - USUAL_SAVING;
        const std::int32_t next = after != end ? after->clock.offset : last;
        span->standard = next == offset - USUAL_SAVING || before == nullptr ? next : last;
    }
}

const char* Zone::KeepName(std::string_view name) {
    // Every zone that can't be read is UTC, whatever names fill the space.
    static constexpr char UTC[] = "UTC";
    if (name == UTC)
        return UTC;
    const std::size_t size = m_NamesSize.load(std::memory_order_relaxed);
    for (std::size_t at = 0; at < size;) {
        const std::string_view kept(&m_Names[at]);
        if (kept == name)
            return kept.data();
        at += kept.size() + 1;
    }
    if (name.size() >= m_Names.size() - size)
        return "";
    char* const place = &m_Names[size];
    *std::copy(name.begin(), name.end(), place) = '\0';
    m_NamesSize.store(size + name.size() + 1, std::memory_order_release);
    return place;
}

}  // namespace platform
