/// What the library asks about the process's locale. Both answers follow the calling thread's
/// current locale (`uselocale`, or else `setlocale`) and stay valid until it is changed; the
/// library itself never sets one. Neither call fails. Any thread may call them while none changes
/// the locale.
#ifndef UTILITIES_PLATFORM_CURRENTLOCALE_H
#define UTILITIES_PLATFORM_CURRENTLOCALE_H

namespace platform {

enum class Encoding {
    ASCII,  ///< The "C" locale: bytes above 0x7F mean nothing.
    UTF8,
    OTHER,  ///< Known to the C library alone.
};

/// How narrow text is encoded.
Encoding NarrowEncoding();

/// The text between a number's whole digits and its fraction, usually "." or ","; never empty, at
/// most a few bytes, in the narrow encoding.
const char* DecimalPoint();

}  // namespace platform

#endif
