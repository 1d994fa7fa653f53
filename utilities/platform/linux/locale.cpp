#include "utilities/platform/locale.h"

#include <langinfo.h>

#include <cstring>

namespace platform {

Encoding NarrowEncoding() {
    const char* codeset = ::nl_langinfo(CODESET);
    if (std::strcmp(codeset, "UTF-8") == 0)
        return Encoding::Utf8;
    if (std::strcmp(codeset, "ANSI_X3.4-1968") == 0)
        return Encoding::Ascii;
    return Encoding::Other;
}

const char* DecimalPoint() { return ::nl_langinfo(RADIXCHAR); }

}  // namespace platform
