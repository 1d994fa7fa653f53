#include "utilities/frame/assert_internal.h"

#include <cstdio>

#include "utilities/frame/errno_internal.h"

void ReportFailedAssertion(const char* condition, const char* module, int line) {
    const ScopedErrno untilWritten;
    std::fprintf(stderr, "ASSERT(%s in: ", condition);
    std::fprintf(stderr, "%s ", module);
    std::fprintf(stderr, " line %d\n", line);
}
