/// Identifiers that differ within a process and between its runs.
#ifndef UTILITIES_SERVICES_UNIQUE_ID_H
#define UTILITIES_SERVICES_UNIQUE_ID_H

#include "utilities/frame/export.h"

/// Returns a new identifier:
///
/// | Bits | Content |
/// |---|---|
/// | 63 to 32 | seconds since 1970; a random number where the clock can't be read |
/// | 31 to 20 | a counter of the calls, which starts at a random number and wraps after 4096 |
/// | 19 to 0 | the age of the process in milliseconds, modulo 1000 |
///
/// The age advances in ticks of the system's coarse clock, mostly of 4 milliseconds. Up to 4096
/// identifiers that one process makes in one tick differ. A loop without a pause makes more, and
/// then they repeat.
///
/// Equal identifiers are also possible
/// - between threads that call this at the same moment and receive the same counter: callers who
///   must exclude that lock a mutex of their own around the call;
/// - between two processes that make their first identifiers in the same second and at the same
///   age: only the second seeds the random start of the counter;
/// - between a process and a child that it forked: both go on with the same counter, and a child
///   that calls this soon after the fork receives what its parent receives.
///
/// The first call seeds the C library's `rand` with the second.
UTILITIES_EXPORT long long create_unique_id();

#endif
