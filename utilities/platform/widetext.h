/// Wide text: conversion between the widths, and the classification of single characters.
/// All of it follows the process's character-type locale.
#ifndef UTILITIES_PLATFORM_WIDETEXT_H
#define UTILITIES_PLATFORM_WIDETEXT_H

#include <cstddef>

#include "utilities/platform/types.h"

namespace platform {

/// The result of a conversion that met something that can't be converted.
inline constexpr std::size_t CONVERSION_FAILED = static_cast<std::size_t>(-1);

/// Converts `text`, whose `length` bytes end in a NUL that isn't counted, up to its first NUL, into
/// at most `length` units. Gives the number of units written, without a terminator.
///
/// A byte sequence that means nothing in the locale, a code point above 0x10FFFF and a surrogate
/// in the encoding give `CONVERSION_FAILED`; what `out` holds then is unspecified.
std::size_t mbstowcs(WideChar* out, const char* text, std::size_t length);

/// The way back: `length` units that end in a NUL, up to the first one or until `capacity` bytes
/// are full, cut at a whole character. Text behind a cut is not looked at. A pair of surrogates is
/// one character; one without its other half, and a character that the locale doesn't have, give
/// `CONVERSION_FAILED`.
std::size_t wcstombs(char* out, const WideChar* text, std::size_t length, std::size_t capacity);

/// White space, as the locale has it. A unit that is half a pair is none.
bool isspace(char c);
bool iswspace(WideChar c);

/// The other case of one character, or the character itself where it has none.
char toupper(char c);
char tolower(char c);
WideChar towupper(WideChar c);
WideChar towlower(WideChar c);

}  // namespace platform

#endif
