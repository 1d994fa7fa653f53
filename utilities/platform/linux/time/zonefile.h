/// Zones as the environment and the zone database have them.
#ifndef UTILITIES_PLATFORM_LINUX_TIME_ZONEFILE_H
#define UTILITIES_PLATFORM_LINUX_TIME_ZONEFILE_H

#include <string_view>

#include "utilities/platform/linux/time/zone.h"

namespace platform {

/// Fills the zone from the bytes of a zone file (format TZif, RFC 8536, versions 1 to 4; leap
/// seconds are passed over). False, with the zone unfinished, where they are damaged or something
/// else. No memory is needed.
bool ReadZone(std::string_view bytes, Zone& zone);

/// Fills the zone with the one that `name` stands for: a file of the zone database, a path, or a
/// rule; UTC where it is none of these.
///
/// False, with the zone as it was, where that can't be told at present: memory or descriptors are
/// exhausted, or the file's device fails.
bool LoadZone(const char* name, Zone& zone);

}  // namespace platform

#endif
