#include "utilities/platform/currentlocale.h"

#include <langinfo.h>

#include <cstddef>
#include <utility>

namespace platform {

namespace {

/// Compares in place, character by character without a loop: the call to the C library costs more.
template <std::size_t SIZE>
bool AreEqual(const char* text, const char (&expected)[SIZE]) {
    return [&]<std::size_t... I>(std::index_sequence<I...>) {
        return ((text[I] == expected[I]) && ...);
    }
    (std::make_index_sequence<SIZE>());
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
