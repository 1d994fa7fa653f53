/// What tells identifiers of the same time apart.
#ifndef UTILITIES_SERVICES_UNIQUE_ID_INTERNAL_H
#define UTILITIES_SERVICES_UNIQUE_ID_INTERNAL_H

#include <cstdint>

#include "utilities/locks/relaxed.h"

/// The counter of the next identifier; 0 before the first one, and never again.
extern constinit Relaxed<std::uint64_t> uniqueCounter;

#endif
