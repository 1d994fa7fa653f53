/// The library's one report of a broken internal expectation.
#ifndef UTILITIES_FRAME_ASSERT_INTERNAL_H
#define UTILITIES_FRAME_ASSERT_INTERNAL_H

/// Writes the report to the standard error stream, in three writes; the output of other threads can
/// appear between them.
void ReportFailedAssertion(const char* condition, const char* module, int line);

/// Evaluates `condition` once and, if it is false, reports it with the source module's path
/// (`ASSERT_MODULE`, a constant of each source that uses this) and the line. Execution goes on in
/// either case and in every build, so the code after it must handle what was found wrong. A path
/// that must not be reached is marked with `ASSERT(false)`.
#define ASSERT(condition)                                                       \
    do {                                                                        \
        if (!(condition))                                                       \
            ReportFailedAssertion("(" #condition ")", ASSERT_MODULE, __LINE__); \
    } while (false)

#endif
