/// UTF-8 to and from 16-bit units, for conversions in locales of that encoding. The
/// arguments, results and failures are those of `mbstowcs` and `wcstombs` of `widetext.h`; the
/// encoding is that of RFC 3629 (no overlong forms, no surrogates, nothing above 0x10FFFF).
#ifndef UTILITIES_RUNTIME_UTF8_H
#define UTILITIES_RUNTIME_UTF8_H

#include <cstddef>

#include "utilities/frame/types.h"

namespace runtime {

std::size_t DecodeUtf8(WideChar* out, const char* text, std::size_t length);
std::size_t EncodeUtf8(char* out, const WideChar* text, std::size_t length, std::size_t capacity);

/// A capacity with which every text of `length` units is converted in one go.
constexpr std::size_t Utf8Capacity(std::size_t length) { return 3 * length + 1; }

}  // namespace runtime

#endif
