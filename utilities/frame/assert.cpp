#include "utilities/frame/assert_internal.h"

#include <cstdio>

void ReportFailedAssertion(const char* condition, const char* module, int line) {
    std::fprintf(stderr, "ASSERT(%s in: ", condition);
    std::fprintf(stderr, "%s ", module);
    std::fprintf(stderr, " line %d\n", line);
}
