/// The information ids of containers, which are numbered in runs with gaps in between.
///
/// A client walks a container's ids from its first one up to and including `getLastCntrInfoID`:
///
///     for (E_CONTAINERINFO_ID id = first; id <= getLastCntrInfoID(container); ++id) ...
///
/// Both enumerations can hold any 32-bit number. The functions keep no state; any thread can call
/// them.
#ifndef UTILITIES_SERVICES_CONTAINER_IDS_H
#define UTILITIES_SERVICES_CONTAINER_IDS_H

#include "utilities/frame/export.h"

/// The containers. Every number without an enumerator stands for the basic container.
enum E_CONTAINERID : int {
    CONTAINER_BASIC = 0,
    CONTAINER_10 = 10,
    CONTAINER_20 = 20,
};

/// The first and the last information id of each container's run.
enum E_CONTAINERINFO_ID : int {
    CONTAINERINFO_BASIC_FIRST = 0,
    CONTAINERINFO_BASIC_LAST = 5,
    CONTAINERINFO_10_FIRST = 10,
    CONTAINERINFO_10_LAST = 14,
    CONTAINERINFO_20_FIRST = 20,
    CONTAINERINFO_20_LAST = 23,
};

/// Advances `id` and returns it: from 5 to 10 and from 14 to 20, the ends of runs, and by 1 from
/// any other number, also inside a gap and beyond the last run. The largest number wraps to the
/// smallest.
UTILITIES_EXPORT E_CONTAINERINFO_ID& operator++(E_CONTAINERINFO_ID& id);

/// The last information id of the container's run: 14 for container 10, 23 for container 20, 5 for
/// any other number.
UTILITIES_EXPORT E_CONTAINERINFO_ID getLastCntrInfoID(const E_CONTAINERID& container);

#endif
