#include "utilities/platform/currentlocale.h"

#include <langinfo.h>

namespace platform {

namespace {

/// Compares in place: the call to the C library costs more than the few characters.
bool AreEqual(const char* a, const char* b) {
    for (; *a == *b; ++a, ++b) {
        if (*a == '\0')
            return true;
    }
    return false;
}

}  // namespace

Encoding NarrowEncoding() {
    const char* codeset = ::nl_langinfo(CODESET);
    if (AreEqual(codeset, "UTF-8"))
        return Encoding::UTF8;
    if (AreEqual(codeset, "ANSI_X3.4-1968"))
        return Encoding::ASCII;
    return Encoding::OTHER;
}

const char* DecimalPoint() { return ::nl_langinfo(RADIXCHAR); }

}  // namespace platform
