/// Zones of the platform's calendar, and what its conversions must keep to in any of them.
#ifndef TESTS_SUPPORT_PLATFORM_ZONE_H
#define TESTS_SUPPORT_PLATFORM_ZONE_H

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <string_view>

#include "utilities/platform/calendar.h"

inline void SetZone(const char* name) {
    setenv("TZ", name, 1);
    platform::_tzset();
}

/// Makes the bytes the content of the zone's file. False where that can't be done.
inline bool SetZoneBytes(std::string_view bytes) {
    static const int file = memfd_create("zone", MFD_CLOEXEC);
    SetZone("UTC");
    if (ftruncate(file, 0) != 0 ||
        pwrite(file, bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        return false;
    SetZone(("/proc/self/fd/" + std::to_string(file)).c_str());
    return true;
}

/// What is wrong with the conversions of an instant, empty if nothing is.
inline const char* ConversionFault(std::int32_t seconds) {
    const tm shown = *platform::localtime(&seconds);
    tm fields = shown, asGMT = shown;
    if (timegm(&asGMT) != seconds + shown.tm_gmtoff)
        return "localtime";
    for (const int isDaylight : {-1, shown.tm_isdst}) {
        fields.tm_isdst = isDaylight;
        // The clocks can show the same at an earlier instant, with the other kind of time.
        if (platform::mktime(&fields) > seconds ||
            std::memcmp(&fields, &shown, (isDaylight < 0 ? 8 : 9) * sizeof(int)) != 0)
            return "mktime";
    }
    fields.tm_isdst = 0;
    const std::int64_t standard = platform::mktime(&fields);
    if (standard != -1 && standard - platform::_timezone() != seconds + shown.tm_gmtoff)
        return "_timezone";
    return "";
}

#endif
