/// The information ids of containers, which are numbered in runs with gaps in between.
///
/// A client walks a container's ids from its first one up to and including `getLastCntrInfoID`:
///
///     for (E_CONTAINERINFO_ID id = first; id <= getLastCntrInfoID(container); ++id) ...
///
/// Any number can stand in both enumerations. Nothing here keeps a state.
#ifndef UTILITIES_SERVICES_CONTAINER_IDS_H
#define UTILITIES_SERVICES_CONTAINER_IDS_H

#include "utilities/frame/export.h"

/// The containers that have a run of their own; every other number stands for the basic one.
enum E_CONTAINERID : int {
    CONTAINER_BASIC = 0,
    CONTAINER_10 = 10,
    CONTAINER_20 = 20,
};

/// Where the runs begin and end.
enum E_CONTAINERINFO_ID : int {
    CONTAINERINFO_BASIC_FIRST = 0,
    CONTAINERINFO_BASIC_LAST = 5,
    CONTAINERINFO_10_FIRST = 10,
    CONTAINERINFO_10_LAST = 14,
    CONTAINERINFO_20_FIRST = 20,
    CONTAINERINFO_20_LAST = 23,
};

/// Moves `id` on and gives it: from the end of one run to the start of the next, from any other
/// number to that plus 1, beyond the last run too. The largest number is followed by the smallest.
UTILITIES_EXPORT E_CONTAINERINFO_ID& operator++(E_CONTAINERINFO_ID& id);

/// The last id of the container's run.
UTILITIES_EXPORT E_CONTAINERINFO_ID getLastCntrInfoID(const E_CONTAINERID& container);

#endif
