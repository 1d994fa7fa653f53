/// Wide text: conversion between the widths, and the classification of single characters.
/// All of it follows the process's character-type locale.
#ifndef UTILITIES_PLATFORM_WIDETEXT_H
#define UTILITIES_PLATFORM_WIDETEXT_H

#include <cstddef>
#include <string>

#include "utilities/frame/types.h"

namespace platform {

/// The result of a conversion of a text that can't be converted.
inline constexpr std::size_t CONVERSION_FAILED = static_cast<std::size_t>(-1);

/// Converts `text`, whose `length` bytes end in a NUL that isn't counted, up to its first NUL, into
/// at most `length` units. Returns the number of units written; there is no terminator.
///
/// Returns `CONVERSION_FAILED` for a byte sequence that means nothing in the locale, a code point
/// above 0x10FFFF and an encoded surrogate; what `out` holds then is unspecified.
std::size_t mbstowcs(WideChar* out, const char* text, std::size_t length);

/// The way back: converts `text`, whose `length` units end in a NUL that isn't counted, up to its
/// first NUL, into at most `capacity` bytes, and returns the number of bytes written. The result
/// ends at the last whole character that fits; the text after it is not looked at. A pair of
/// surrogates is one character; one without its other half, and a character that the locale doesn't
/// have, make it `CONVERSION_FAILED`.
std::size_t wcstombs(char* out, const WideChar* text, std::size_t length, std::size_t capacity);

/// Replaces `out` by the conversion of `text`, or by the empty text where that fails. `out` takes
/// no more memory than it needs in UTF-8 and in the "C" locale. A wide text has at most `most`
/// bytes.
void ConvertText(std::basic_string<WideChar>& out, const std::basic_string<char>& text);
void ConvertText(std::basic_string<char>& out, const std::basic_string<WideChar>& text,
                 std::size_t most);

/// Whether the locale counts the character as white space; it never does half of a pair.
bool isspace(char c);
bool iswspace(WideChar c);

/// The other case of one character, or the character itself if it has none.
char toupper(char c);
char tolower(char c);
WideChar towupper(WideChar c);
WideChar towlower(WideChar c);

}  // namespace platform

#endif
