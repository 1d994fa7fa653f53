#include "utilities/platform/calendar.h"

#include <sys/stat.h>

#include <array>
#include <atomic>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "utilities/platform/fork.h"
#include "utilities/platform/linux/time/civil.h"
#include "utilities/platform/linux/time/zone.h"
#include "utilities/platform/linux/time/zonefile.h"

namespace platform {

namespace {

constexpr char SYSTEM_ZONE[] = "/etc/localtime";

/// More than any clock is ahead of or behind GMT.
constexpr std::int64_t REACH = 27 * 3600;

/// Stands for no instant: negative ones are never shown.
constexpr std::int32_t NO_INSTANT = -1;

constexpr Day FIRST_OF_1970{DAYS_BEFORE_1970, 70, 0, 1, 4, 0};

/// What fields mean: an instant, and the offset of the standard time that it was read with.
struct Reading {
    std::int64_t seconds;
    std::int32_t standard;
};

/// An instant, and the fields that clocks show then.
struct Shown {
    std::int32_t instant = NO_INSTANT;
    tm fields{};
};

/// All that the conversions remember from one call to the next.
///
/// Who may touch it: one thread at a time. There is no lock in here; the callers have theirs, under
/// which no thread is stopped.
///
/// What must hold between calls:
/// - `m_Source` is the text that `m_Zone` was read from, and `m_SystemZone` the state of the
///   system's file if it was read from there, in the second `m_LastLook`. They are stored after the
///   zone is complete. Where `m_Source` is empty, the next operation that needs a zone reads one.
///   From then on the zone has a span.
/// - `m_LastIndex` and `m_LastDay` are memos of the last conversion, as most calls ask for instants
///   near the one before: any span of the present zone, and any day with its date, are right.
/// - `m_Local` and `m_GMT` are memos and results at once: the instants that were shown last, with
///   their fields. A text of an instant asks for it twice, each time in GMT and twice in the zone,
///   then for its date and its time of day. Without a source `m_Local` has no instant.
/// - `m_Timezone` is a result, valid until the next call that sets it.
/// - `m_IsInUse` is set exactly as long as a thread changes anything.
///
/// When it is reset: the memos of the span and of the local fields with each new zone. All of it in
/// the child of a fork if `m_IsInUse` is set there, as a thread that doesn't exist in the child may
/// have left any member half written. Only the names of clocks outlive that, as records that
/// clients hold point at them.
class Calendar {
public:
    const tm* ShowLocal(std::int32_t seconds);
    const tm* ShowGMT(std::int32_t seconds);
    std::int32_t Read(const tm& record);
    std::int32_t Normalise(tm& record);
    void ReadZoneAnew();
    std::int32_t Timezone() const { return m_Timezone; }

    /// In the child of a fork, where no other thread runs.
    void RecoverAfterFork();

private:
    class ScopedUse;

    bool IsWithin(std::size_t index, std::int64_t instant, std::int64_t margin) const;
    std::size_t IndexAt(std::int64_t instant);
    std::int32_t DaylightOffsetNear(std::size_t index, std::int64_t instant) const;
    Reading ReadFields(std::int64_t fields, int isDaylight);
    Reading ReadNearChange(std::int64_t fields, int isDaylight);
    Reading ReadUnshown(std::int64_t fields, int isDaylight, std::size_t first);
    std::int64_t FieldsOf(const tm& record) const;
    std::int32_t ResultOf(const tm& record);
    const Day& DateOf(unsigned number);
    void Show(tm& record, std::int64_t seconds, const ZoneClock& clock);
    void NeedZone();
    void ReadEnvironment();
    void LoadZoneOf(const char* source);
    void DoWithoutZone();
    void UsePresentTimezone();

    Zone m_Zone;
    char m_Source[PATH_MAX]{};
    struct stat m_SystemZone {};
    std::time_t m_LastLook = 0;
    std::size_t m_LastIndex = 0;
    Day m_LastDay = FIRST_OF_1970;
    std::int32_t m_Timezone = 0;
    Shown m_Local;
    std::array<Shown, 4> m_GMT;
    unsigned m_LastGMT = 0;
    std::atomic<bool> m_IsInUse{false};
};

bool IsSameFile(const struct stat& one, const struct stat& other) {
    return one.st_ino == other.st_ino && one.st_dev == other.st_dev &&
           one.st_size == other.st_size && one.st_mtim.tv_sec == other.st_mtim.tv_sec &&
           one.st_mtim.tv_nsec == other.st_mtim.tv_nsec;
}

constinit Calendar calendar;

const AtFork calendarAtFork(ForkOrder::SUBSYSTEMS, nullptr, nullptr,
                            [] { calendar.RecoverAfterFork(); });

/// Sets `m_IsInUse` before the first change of the calendar, and clears it after the last one. The
/// fences are for the compiler only: a fork stops the other threads' writes at a point of their
/// program's order.
class Calendar::ScopedUse {
public:
    explicit ScopedUse(Calendar& used) : m_IsInUse(used.m_IsInUse) {
        m_IsInUse.store(true, std::memory_order_relaxed);
        std::atomic_signal_fence(std::memory_order_acq_rel);
    }
    ~ScopedUse() { m_IsInUse.store(false, std::memory_order_release); }
    ScopedUse(const ScopedUse&) = delete;
    ScopedUse& operator=(const ScopedUse&) = delete;

private:
    std::atomic<bool>& m_IsInUse;
};

bool Calendar::IsWithin(std::size_t index, std::int64_t instant, std::int64_t margin) const {
    return instant - margin >= m_Zone[index].from && instant + margin < m_Zone.EndOf(index);
}

std::size_t Calendar::IndexAt(std::int64_t instant) {
    if (!IsWithin(m_LastIndex, instant, 0))
        m_LastIndex = m_Zone.IndexAt(instant);
    return m_LastIndex;
}

/// The offset of the daylight saving time at an instant of the span `index`, or of that within a
/// year before or after it.
std::int32_t Calendar::DaylightOffsetNear(std::size_t index, std::int64_t instant) const {
    constexpr std::int64_t A_YEAR = std::int64_t{366} * SECONDS_A_DAY;
    const bool hasBefore = index > 0 && m_Zone[index].from > instant - A_YEAR;
    const bool hasAfter = index + 1 < m_Zone.Count() && m_Zone.EndOf(index) < instant + A_YEAR;
    for (const std::size_t near :
         {index, hasBefore ? index - 1 : index, hasAfter ? index + 1 : index}) {
        if (m_Zone[near].clock.isDaylight)
            return m_Zone[near].clock.offset;
    }
    return m_Zone[index].clock.offset;
}

/// Reads fields, counted as if GMT clocks showed them.
inline Reading Calendar::ReadFields(std::int64_t fields, int isDaylight) {
    if (!IsWithin(m_LastIndex, fields, REACH) && !IsWithin(IndexAt(fields), fields, REACH))
        return ReadNearChange(fields, isDaylight);
    const ZoneSpan& span = m_Zone[m_LastIndex];
    if (isDaylight < 0 || span.clock.isDaylight == (isDaylight > 0))
        return {fields - span.clock.offset, span.standard};
    if (isDaylight == 0)
        return {fields - span.standard, span.standard};
    return ReadUnshown(fields, isDaylight, m_LastIndex);
}

/// The same for fields that the clocks of several spans may show.
Reading Calendar::ReadNearChange(std::int64_t fields, int isDaylight) {
    const std::size_t first = m_Zone.IndexAt(fields - REACH);
    const std::size_t last = m_Zone.IndexAt(fields + REACH);
    for (std::size_t index = first; index <= last; ++index) {
        const ZoneClock& clock = m_Zone[index].clock;
        const std::int64_t seconds = fields - clock.offset;
        if (IsWithin(index, seconds, 0) && (isDaylight < 0 || clock.isDaylight == (isDaylight > 0)))
            return {seconds, m_Zone[index].standard};
    }
    return ReadUnshown(fields, isDaylight, first);
}

/// Reads fields that no clock shows: the clocks skip them, or they have the kind of time that is
/// not in force.
Reading Calendar::ReadUnshown(std::int64_t fields, int isDaylight, std::size_t first) {
    const std::size_t index = IndexAt(fields - m_Zone[first].clock.offset);
    const std::int32_t standard = m_Zone[index].standard;
    std::int32_t offset = m_Zone[first].clock.offset;
    if (isDaylight == 0)
        offset = standard;
    else if (isDaylight > 0)
        offset = DaylightOffsetNear(index, fields);
    return {fields - offset, standard};
}

std::int64_t Calendar::FieldsOf(const tm& record) const {
    const bool isLastDay = record.tm_mday == m_LastDay.dayOfMonth &&
                           record.tm_mon == m_LastDay.month && record.tm_year == m_LastDay.year;
    if (!isLastDay)
        return SecondsOf(record);
    return (std::int64_t{m_LastDay.number} - DAYS_BEFORE_1970) * SECONDS_A_DAY +
           SecondsOfDay(record);
}

/// The date of a day. That of times of day without a date is always at hand.
inline const Day& Calendar::DateOf(unsigned number) {
    if (number == FIRST_OF_1970.number)
        return FIRST_OF_1970;
    if (number != m_LastDay.number)
        m_LastDay = DayOf(number);
    return m_LastDay;
}

/// Stores all fields of `seconds`, which is an instant of 32 bits.
void Calendar::Show(tm& record, std::int64_t seconds, const ZoneClock& clock) {
    constexpr std::int64_t BEFORE_1970 = std::int64_t{DAYS_BEFORE_1970} * SECONDS_A_DAY;
    const auto shown = static_cast<std::uint64_t>(seconds + clock.offset + BEFORE_1970);
    const auto number = static_cast<unsigned>(shown / SECONDS_A_DAY);
    const auto second = static_cast<unsigned>(shown - std::uint64_t{number} * SECONDS_A_DAY);
    const Day& day = DateOf(number);
    record.tm_sec = static_cast<int>(second % 60);
    record.tm_min = static_cast<int>(second / 60 % 60);
    record.tm_hour = static_cast<int>(second / 3600);
    record.tm_mday = day.dayOfMonth;
    record.tm_mon = day.month;
    record.tm_year = day.year;
    record.tm_wday = day.weekday;
    record.tm_yday = day.dayOfYear;
    record.tm_isdst = clock.isDaylight ? 1 : 0;
    record.tm_gmtoff = clock.offset;
    record.tm_zone = clock.name;
}

const tm* Calendar::ShowLocal(std::int32_t seconds) {
    if (seconds != m_Local.instant) {
        const ScopedUse use(*this);
        NeedZone();
        Show(m_Local.fields, seconds, m_Zone[IndexAt(seconds)].clock);
        m_Local.instant = m_Source[0] != '\0' ? seconds : NO_INSTANT;
    }
    return &m_Local.fields;
}

const tm* Calendar::ShowGMT(std::int32_t seconds) {
    for (const Shown& shown : m_GMT) {
        if (shown.instant == seconds)
            return &shown.fields;
    }
    const ScopedUse use(*this);
    Shown& oldest = m_GMT[m_LastGMT++ % m_GMT.size()];
    Show(oldest.fields, seconds, {0, false, "GMT"});
    oldest.instant = seconds;
    return &oldest.fields;
}

std::int32_t Calendar::Read(const tm& record) {
    const ScopedUse use(*this);
    return ResultOf(record);
}

std::int32_t Calendar::Normalise(tm& record) {
    const ScopedUse use(*this);
    const std::int32_t result = ResultOf(record);
    if (result != -1)
        Show(record, result, m_Zone[IndexAt(result)].clock);
    return result;
}

/// The result of `mktime`, and the value of `_timezone` after it.
std::int32_t Calendar::ResultOf(const tm& record) {
    NeedZone();
    const Reading reading = ReadFields(FieldsOf(record), record.tm_isdst);
    const auto result = static_cast<std::int32_t>(reading.seconds);
    if (result != reading.seconds) {
        UsePresentTimezone();
        return -1;
    }
    m_Timezone = -reading.standard;
    return result;
}

void Calendar::UsePresentTimezone() { m_Timezone = -m_Zone[m_Zone.Count() - 1].standard; }

void Calendar::NeedZone() {
    if (m_Source[0] == '\0')
        ReadEnvironment();
}

void Calendar::ReadZoneAnew() {
    const ScopedUse use(*this);
    ReadEnvironment();
}

void Calendar::ReadEnvironment() {
    const char* source = std::getenv("TZ");
    if (source == nullptr)
        source = SYSTEM_ZONE;
    else if (*source == ':')
        ++source;
    if (*source == '\0' || std::strlen(source) >= sizeof m_Source)
        source = "UTC";
    LoadZoneOf(source);
    UsePresentTimezone();
}

/// Loads the zone unless it is in use already. The system's file can be another one by now: it is
/// looked at once in each second, as that costs more than a hundred conversions.
void Calendar::LoadZoneOf(const char* source) {
    const bool isInUse = std::strcmp(source, m_Source) == 0;
    const bool isSystemZone = std::strcmp(source, SYSTEM_ZONE) == 0;
    const std::time_t now = isSystemZone ? ::time(nullptr) : 0;
    if (isInUse && now == m_LastLook)
        return;
    struct stat status {};
    if (isSystemZone)
        stat(SYSTEM_ZONE, &status);
    if (!isInUse || !IsSameFile(status, m_SystemZone)) {
        if (!LoadZone(source, m_Zone))
            return DoWithoutZone();
        m_LastIndex = 0;
        m_Local.instant = NO_INSTANT;
        std::strcpy(m_Source, source);
        m_SystemZone = status;
    }
    m_LastLook = now;
}

/// Where there has been no zone yet.
void Calendar::DoWithoutZone() {
    if (m_Zone.Count() > 0)
        return;
    m_Zone.Begin({0, false, "UTC"});
    m_Zone.Finish();
}

void Calendar::RecoverAfterFork() {
    if (!m_IsInUse.load(std::memory_order_relaxed))
        return;
    m_Zone.Begin({0, false, "UTC"});
    m_Zone.Finish();
    m_Source[0] = '\0';
    m_LastIndex = 0;
    m_LastDay = FIRST_OF_1970;
    m_Timezone = 0;
    m_Local.instant = NO_INSTANT;
    m_GMT.fill({});
    m_IsInUse.store(false, std::memory_order_relaxed);
}

}  // namespace

std::int32_t time(std::int32_t* seconds) {
    const std::time_t now = ::time(nullptr);
    const auto result = static_cast<std::int32_t>(now);
    const std::int32_t told = result == now ? result : -1;
    if (seconds != nullptr)
        *seconds = told;
    return told;
}

const tm* localtime(const std::int32_t* seconds) {
    return *seconds >= 0 ? calendar.ShowLocal(*seconds) : nullptr;
}

const tm* gmtime(const std::int32_t* seconds) {
    return *seconds >= 0 ? calendar.ShowGMT(*seconds) : nullptr;
}

std::int32_t mktime(tm* record) { return calendar.Normalise(*record); }

std::int32_t mktime(const tm& record) { return calendar.Read(record); }

void _tzset() { calendar.ReadZoneAnew(); }

std::int32_t _timezone() { return calendar.Timezone(); }

}  // namespace platform
