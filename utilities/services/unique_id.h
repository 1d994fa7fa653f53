/// Identifiers that differ within a process and between its runs.
#ifndef UTILITIES_SERVICES_UNIQUE_ID_H
#define UTILITIES_SERVICES_UNIQUE_ID_H

#include "utilities/frame/export.h"

/// A new identifier. Its upper 32 bits are the time in seconds since 1970, a random number where
/// the clock can't be read; the next 12 a counter that starts anywhere; the lower 20 the process's
/// age in milliseconds, modulo 1000. So up to 4096 identifiers of one millisecond differ.
///
/// The first call seeds the C library's `rand`. Threads that call this at the same moment may
/// receive the same counter: they take turns, or live with equal identifiers. Two processes that
/// started at the same moment may receive the same too.
UTILITIES_EXPORT long long create_unique_id();

#endif
