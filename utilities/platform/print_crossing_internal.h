/// Text of the other width on its way into the formatter's output.
#ifndef UTILITIES_PLATFORM_PRINT_CROSSING_INTERNAL_H
#define UTILITIES_PLATFORM_PRINT_CROSSING_INTERNAL_H

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string_view>
#include <type_traits>

#include "utilities/platform/print_output_internal.h"
#include "utilities/platform/surrogates.h"
#include "utilities/platform/types.h"
#include "utilities/platform/widetext.h"

namespace platform {

/// Room for one character in either width, with a NUL.
inline constexpr std::size_t CHARACTER_CAPACITY = MB_LEN_MAX + 1;

/// The text's length, of which at most `most` characters are read.
inline std::size_t LengthUpTo(const char* text, std::size_t most) {
    const void* end = std::memchr(text, '\0', most);
    return end == nullptr ? most : static_cast<std::size_t>(static_cast<const char*>(end) - text);
}

inline std::size_t LengthUpTo(const WideChar* text, std::size_t most) {
    std::size_t length = 0;
    while (length < most && text[length] != u'\0')
        ++length;
    return length;
}

/// The most characters of the output's width that one of the other width becomes.
template <class Char>
std::size_t CrossingGrowth() {
    return std::is_same_v<Char, WideChar> ? 1 : MB_CUR_MAX;
}

/// Both want room for that growth.
inline std::size_t Cross(WideChar* out, const char* text, std::size_t length) {
    return mbstowcs(out, text, length);
}

inline std::size_t Cross(char* out, const WideChar* text, std::size_t length) {
    return wcstombs(out, text, length, length * CrossingGrowth<char>());
}

/// Copies the character at `text` and a NUL to `out` and gives its length, 0 at the text's end.
/// Bytes that are no character give `CONVERSION_FAILED`. Nothing behind the character is read.
inline std::size_t TakeCharacter(const char* text, char (&out)[CHARACTER_CAPACITY]) {
    constexpr auto INCOMPLETE = static_cast<std::size_t>(-2);
    std::mbstate_t state{};
    std::size_t length = 0;
    std::size_t result = INCOMPLETE;
    while (result == INCOMPLETE && length < MB_LEN_MAX) {
        out[length] = text[length];
        result = std::mbrlen(text + length, 1, &state);
        ++length;
    }
    out[length] = '\0';
    if (result == 0)
        return 0;
    return result == 1 ? length : CONVERSION_FAILED;
}

inline std::size_t TakeCharacter(const WideChar* text, WideChar (&out)[CHARACTER_CAPACITY]) {
    const std::size_t length = text[0] == u'\0' ? 0 : ReadUnits(text).units;
    *std::copy_n(text, length, out) = u'\0';
    return length;
}

/// Writes the whole of `text`. False, with nothing done, if it might not fit.
template <class Char, class Other>
bool CrossWhole(Output<Char>& output, const Other* text) {
    const std::size_t most = output.Room() / CrossingGrowth<Char>();
    const std::size_t length = LengthUpTo(text, most);
    if (length == most)
        return false;
    const std::size_t written = Cross(output.End(), text, length);
    if (written == CONVERSION_FAILED)
        output.Fail();
    else
        output.Advance(written);
    return true;
}

/// Writes `text` character by character, as far as whole ones fit into `most` characters of the
/// output's width, and reads no further.
template <class Char, class Other>
void CrossCharacters(Output<Char>& output, const Other* text, std::size_t most) {
    Other character[CHARACTER_CAPACITY];
    Char crossed[CHARACTER_CAPACITY];
    while (most > 0 && !output.Failed()) {
        const std::size_t length = TakeCharacter(text, character);
        if (length == 0)
            return;
        std::size_t written = CONVERSION_FAILED;
        if (length != CONVERSION_FAILED)
            written = Cross(crossed, character, length);
        if (written == CONVERSION_FAILED) {
            output.Fail();
            return;
        }
        if (written > most)
            return;
        output.Write(std::basic_string_view<Char>(crossed, written));
        most -= written;
        text += length;
    }
}

}  // namespace platform

#endif
