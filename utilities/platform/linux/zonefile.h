/// Zones as the environment and the zone database have them.
#ifndef UTILITIES_PLATFORM_LINUX_ZONEFILE_H
#define UTILITIES_PLATFORM_LINUX_ZONEFILE_H

#include <string_view>

#include "utilities/platform/linux/zone.h"

namespace platform {

/// Reads the bytes of a zone file (format TZif, versions 1 to 4; leap seconds are passed over).
/// False, with the zone in any state, where they are none.
bool ReadZone(std::string_view bytes, Zone& zone);

/// The zone that `name` stands for: a file of the zone database, a path, or a rule. UTC where it is
/// none of these.
void LoadZone(const char* name, Zone& zone);

}  // namespace platform

#endif
