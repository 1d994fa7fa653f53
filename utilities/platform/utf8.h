/// UTF-8 to and from 16-bit units, for the layer's conversions in locales of that encoding. Same
/// arguments, results and failures as `mbstowcs` and `wcstombs` of `widetext.h`; the algorithm is
/// that of RFC 3629 (no overlong forms, no surrogates, nothing above 0x10FFFF).
#ifndef UTILITIES_PLATFORM_UTF8_H
#define UTILITIES_PLATFORM_UTF8_H

#include <cstddef>

#include "utilities/platform/types.h"

namespace platform {

std::size_t DecodeUtf8(WideChar* out, const char* text, std::size_t length);
std::size_t EncodeUtf8(char* out, const WideChar* text, std::size_t length, std::size_t capacity);

/// As above where every byte or unit above 0x7F is a failure.
std::size_t DecodeAscii(WideChar* out, const char* text, std::size_t length);
std::size_t EncodeAscii(char* out, const WideChar* text, std::size_t length, std::size_t capacity);

}  // namespace platform

#endif
