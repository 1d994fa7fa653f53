/// What the layer needs to know of the process's locale. Both answers follow the calling thread's
/// present locale and stay good until it is changed; the library itself never sets one.
#ifndef UTILITIES_PLATFORM_CURRENTLOCALE_H
#define UTILITIES_PLATFORM_CURRENTLOCALE_H

namespace platform {

enum class Encoding { Ascii, Utf8, Other };

/// How narrow text is encoded: `Ascii` in the "C" locale, where bytes above 0x7F mean nothing.
Encoding NarrowEncoding();

/// The text between a number's whole digits and its fraction, usually "." or ","; never empty,
/// at most a few bytes, in the narrow encoding.
const char* DecimalPoint();

}  // namespace platform

#endif
