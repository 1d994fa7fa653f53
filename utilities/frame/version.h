/// The version of the library: of these headers, as macros, and of the library that is loaded.
#ifndef UTILITIES_FRAME_VERSION_H
#define UTILITIES_FRAME_VERSION_H

#include "utilities/frame/export.h"

// The build and the packages read their version here.
#define UTILITIES_VERSION_MAJOR 1
#define UTILITIES_VERSION_MINOR 0
#define UTILITIES_VERSION_PATCH 0

/// As one number that compares: 10203 for version 1.2.3.
#define UTILITIES_VERSION \
    (UTILITIES_VERSION_MAJOR * 10000 + UTILITIES_VERSION_MINOR * 100 + UTILITIES_VERSION_PATCH)

/// `UTILITIES_VERSION` of the library that the program runs with. It can be a later one than that
/// of the headers; within a major version that does no harm.
UTILITIES_EXPORT unsigned int getUtilitiesVersion();

#endif
