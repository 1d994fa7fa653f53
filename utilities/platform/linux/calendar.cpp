#include "utilities/platform/calendar.h"

#include <sys/stat.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "utilities/platform/linux/civil.h"
#include "utilities/platform/linux/zone.h"
#include "utilities/platform/linux/zonefile.h"

namespace platform {

namespace {

constexpr char SYSTEM_ZONE[] = "/etc/localtime";

/// More than any clock is ahead of or behind GMT.
constexpr std::int64_t REACH = 27 * 3600;

constinit Zone zone{};
constinit char zoneName[PATH_MAX]{};  // empty before the first was read
constinit struct stat systemZone {};
constinit std::size_t lastIndex = 0;
constinit std::int32_t timezoneInUse = 0;
constinit tm shown{};

/// What fields mean: an instant, and the offset of the standard time that it was read with.
struct Reading {
    std::int64_t seconds;
    std::int32_t standard;
};

bool IsWithin(std::size_t index, std::int64_t instant, std::int64_t margin) {
    return (index == 0 || instant >= zone[index].from + margin) &&
           (index + 1 == zone.Count() || instant < zone.EndOf(index) - margin);
}

/// Most calls ask for instants near the one before.
std::size_t IndexAt(std::int64_t instant) {
    if (!IsWithin(lastIndex, instant, 0))
        lastIndex = zone.IndexAt(instant);
    return lastIndex;
}

void UsePresentTimezone() { timezoneInUse = -zone[zone.Count() - 1].standard; }

/// Whether the system's own zone is another than when this was asked last.
bool HasSystemZoneChanged() {
    struct stat status {};
    stat(SYSTEM_ZONE, &status);
    const bool isSame = status.st_ino == systemZone.st_ino && status.st_dev == systemZone.st_dev &&
                        status.st_size == systemZone.st_size &&
                        status.st_mtim.tv_sec == systemZone.st_mtim.tv_sec &&
                        status.st_mtim.tv_nsec == systemZone.st_mtim.tv_nsec;
    systemZone = status;
    return !isSame;
}

void NeedZone() {
    if (zoneName[0] == '\0')
        _tzset();
}

void ShowLocal(tm& record, std::int64_t seconds) {
    const ZoneClock& clock = zone[IndexAt(seconds)].clock;
    BreakDown(record, seconds, clock.offset);
    record.tm_isdst = clock.isDaylight ? 1 : 0;
    record.tm_zone = clock.name;
}

/// The offset of the daylight saving time at an instant of the span `index`, or of that within a
/// year before or after it.
std::int32_t DaylightOffsetNear(std::size_t index, std::int64_t instant) {
    constexpr std::int64_t A_YEAR = 366 * SECONDS_A_DAY;
    const bool hasBefore = index > 0 && zone[index].from > instant - A_YEAR;
    const bool hasAfter = index + 1 < zone.Count() && zone.EndOf(index) < instant + A_YEAR;
    for (const std::size_t near :
         {index, hasBefore ? index - 1 : index, hasAfter ? index + 1 : index}) {
        if (zone[near].clock.isDaylight)
            return zone[near].clock.offset;
    }
    return zone[index].clock.offset;
}

/// Fields that no clock shows: they lie in a gap, or have the other kind of time.
Reading ReadUnshown(std::int64_t fields, int isDaylight, std::size_t first) {
    const std::size_t index = IndexAt(fields - zone[first].clock.offset);
    const std::int32_t standard = zone[index].standard;
    std::int32_t offset = zone[first].clock.offset;
    if (isDaylight == 0)
        offset = standard;
    else if (isDaylight > 0)
        offset = DaylightOffsetNear(index, fields);
    return {fields - offset, standard};
}

Reading Read(std::int64_t fields, int isDaylight) {
    const bool isFarFromChanges = IsWithin(lastIndex, fields, REACH);
    const std::size_t first = isFarFromChanges ? lastIndex : zone.IndexAt(fields - REACH);
    const std::size_t last = isFarFromChanges ? lastIndex : zone.IndexAt(fields + REACH);
    for (std::size_t index = first; index <= last; ++index) {
        const ZoneClock& clock = zone[index].clock;
        const std::int64_t seconds = fields - clock.offset;
        if (IsWithin(index, seconds, 0) && (isDaylight < 0 || clock.isDaylight == (isDaylight > 0)))
            return {seconds, zone[index].standard};
    }
    return ReadUnshown(fields, isDaylight, first);
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
    if (*seconds < 0)
        return nullptr;
    NeedZone();
    ShowLocal(shown, *seconds);
    return &shown;
}

const tm* gmtime(const std::int32_t* seconds) {
    if (*seconds < 0)
        return nullptr;
    BreakDown(shown, *seconds, 0);
    shown.tm_isdst = 0;
    shown.tm_zone = "GMT";
    return &shown;
}

std::int32_t mktime(tm* record) {
    NeedZone();
    const Reading reading = Read(SecondsOf(*record), record->tm_isdst);
    const auto result = static_cast<std::int32_t>(reading.seconds);
    if (result != reading.seconds) {
        UsePresentTimezone();
        return -1;
    }
    timezoneInUse = -reading.standard;
    ShowLocal(*record, result);
    return result;
}

void _tzset() {
    const char* name = std::getenv("TZ");
    if (name != nullptr && *name == ':')
        ++name;
    const bool isChanged = name == nullptr && HasSystemZoneChanged();
    if (name == nullptr)
        name = SYSTEM_ZONE;
    if (*name == '\0' || std::strlen(name) >= sizeof zoneName)
        name = "UTC";
    if (isChanged || std::strcmp(name, zoneName) != 0) {
        std::strcpy(zoneName, name);
        LoadZone(name, zone);
        lastIndex = 0;
    }
    UsePresentTimezone();
}

std::int32_t _timezone() { return timezoneInUse; }

}  // namespace platform
