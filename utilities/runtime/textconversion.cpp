#include "utilities/runtime/textconversion.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <type_traits>

#include "utilities/platform/currentlocale.h"
#include "utilities/platform/widetext.h"
#include "utilities/runtime/surrogates.h"

// How a text is converted without reading more of it than is needed:
//
// One character of the source becomes at most `Growth` characters of the result. So as many
// characters of the source as the remaining capacity holds of these surely fit, and a printf that
// went character by character would read all of them. They are converted at once: in place where
// the text ends among them, otherwise as a copy of whole characters with the NUL that the
// conversion needs. Each step uses a good part of what is left. When less than two characters
// surely fit, the rest goes one by one, each aside first, as its length decides whether it is
// written. ASCII at the start of a step is copied, as its length is known.

namespace runtime {
namespace {

using platform::CONVERSION_FAILED;

/// The most characters that are copied at once.
constexpr std::size_t CHUNK = 512;

/// Space for them, for a character that begins with the last of them, and for the NUL.
constexpr std::size_t CHUNK_CAPACITY = CHUNK + MB_LEN_MAX + 1;

/// The most characters of the result that one character of the source becomes.
std::size_t Growth(const char*) { return 1; }

std::size_t Growth(const WideChar*) {
    switch (platform::NarrowEncoding()) {
        case platform::Encoding::ASCII:
            return 1;
        case platform::Encoding::UTF8:
            return 3;  // A pair of units becomes four bytes.
        default:
            return MB_CUR_MAX;
    }
}

/// `capacity` is at least `length` times the growth.
std::size_t Convert(WideChar* out, std::size_t, const char* text, std::size_t length) {
    return platform::mbstowcs(out, text, length);
}

std::size_t Convert(char* out, std::size_t capacity, const WideChar* text, std::size_t length) {
    return platform::wcstombs(out, text, length, capacity);
}

bool Continues(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

/// The length of a UTF-8 sequence by its first byte; 1 for a byte that begins none.
std::size_t SequenceLength(char first) {
    const auto byte = static_cast<unsigned char>(first);
    return byte < 0xC0 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

/// See `WholeCharacters`.
std::size_t WholeInUtf8(const char* text, std::size_t length) {
    std::size_t start = length - 1;
    while (start > 0 && length - start < 4 && Continues(text[start]))
        --start;
    const std::size_t needed = SequenceLength(text[start]);
    if (start + needed <= length)
        return length;
    if (start > 0)
        return start;
    while (length < needed && Continues(text[length]))
        ++length;
    return length;
}

/// The bytes of the character at `text`, or `CONVERSION_FAILED`. Nothing after it is read.
std::size_t CharacterLength(const char* text) {
    constexpr auto INCOMPLETE = static_cast<std::size_t>(-2);
    std::mbstate_t state{};
    std::size_t result = INCOMPLETE;
    std::size_t length = 0;
    while (result == INCOMPLETE && length < MB_LEN_MAX)
        result = std::mbrlen(text + length++, 1, &state);
    return result == 1 ? length : CONVERSION_FAILED;
}

std::size_t WholeByHost(const char* text, std::size_t most) {
    std::size_t length = 0;
    while (length < most) {
        const std::size_t next = CharacterLength(text + length);
        if (next == CONVERSION_FAILED)
            return length == 0 ? next : length;
        if (length > 0 && length + next > most)
            return length;
        length += next;
    }
    return length;
}

/// The length of the whole characters among the first `length` (1 or more, none of them NUL), or of
/// the first character where that is longer. `CONVERSION_FAILED` where the first one is none.
std::size_t WholeCharacters(const char* text, std::size_t length) {
    switch (platform::NarrowEncoding()) {
        case platform::Encoding::ASCII:
            return length;
        case platform::Encoding::UTF8:
            return WholeInUtf8(text, length);
        default:
            return WholeByHost(text, length);
    }
}

std::size_t WholeCharacters(const WideChar* text, std::size_t length) {
    const bool cutsPair = IsHighSurrogate(text[length - 1]) && IsLowSurrogate(text[length]);
    if (!cutsPair)
        return length;
    return length > 1 ? length - 1 : 2;
}

/// Converts a copy of the `length` first characters, all of them whole.
template <class Char, class Other>
std::size_t ConvertCopy(Char* out, std::size_t capacity, const Other* text, std::size_t length) {
    Other copy[CHUNK_CAPACITY];
    *std::copy_n(text, length, copy) = Other{};
    return Convert(out, capacity, copy, length);
}

/// The most characters that are copied one by one at the start of a step.
constexpr std::size_t PLAIN_RUN = 64;

/// Copies ASCII from the text's start, at most `most` characters, and moves `text` past it. Returns
/// their number; none where the encoding needn't have ASCII.
template <class Char, class Other>
std::size_t CopyAscii(Char* out, const Other*& text, std::size_t most) {
    if (platform::NarrowEncoding() == platform::Encoding::OTHER)
        return 0;
    std::size_t count = 0;
    while (count < most && std::make_unsigned_t<Other>(*text - 1) < 0x7F)
        out[count++] = static_cast<Char>(*text++);
    return count;
}

/// Converts the rest of a text of which hardly any character surely fits.
template <class Char, class Other>
std::size_t ConvertEach(Char* out, std::size_t space, const Other* text, std::size_t most) {
    std::size_t used = 0;
    while (used < most && *text != Other{}) {
        const std::size_t length = WholeCharacters(text, 1);
        if (length == CONVERSION_FAILED)
            return length;
        Char converted[MB_LEN_MAX];
        const std::size_t written = ConvertCopy(converted, MB_LEN_MAX, text, length);
        if (written == CONVERSION_FAILED)
            return written;
        if (written > most - used)
            break;
        if (written > space - used)
            return CONVERSION_FAILED;
        std::copy_n(converted, written, out + used);
        used += written;
        text += length;
    }
    return used;
}

template <class Char, class Other>
std::size_t ConvertWithin(Char* out, std::size_t space, const Other* text, std::size_t most) {
    const std::size_t growth = Growth(text);
    std::size_t used = 0;
    for (;;) {
        used += CopyAscii(out + used, text, std::min({most - used, space - used, PLAIN_RUN}));
        const std::size_t capacity = std::min(most, space) - used;
        const std::size_t sure = std::min(capacity / growth, CHUNK);
        if (sure < 2) {
            const std::size_t rest = ConvertEach(out + used, space - used, text, most - used);
            return rest == CONVERSION_FAILED ? rest : used + rest;
        }
        std::size_t length = LengthUpTo(text, sure);
        const bool ends = length < sure;
        if (!ends)
            length = WholeCharacters(text, length);
        if (length == CONVERSION_FAILED)
            return length;
        const std::size_t written = ends ? Convert(out + used, capacity, text, length)
                                         : ConvertCopy(out + used, capacity, text, length);
        if (written == CONVERSION_FAILED)
            return written;
        used += written;
        if (ends)
            return used;
        text += length;
    }
}

}  // namespace

std::size_t LengthUpTo(const char* text, std::size_t most) {
    const void* end = std::memchr(text, '\0', most);
    return end == nullptr ? most : static_cast<std::size_t>(static_cast<const char*>(end) - text);
}

std::size_t LengthUpTo(const WideChar* text, std::size_t most) {
    std::size_t length = 0;
    while (length < most && text[length] != u'\0')
        ++length;
    return length;
}

std::size_t ConvertUpTo(WideChar* out, std::size_t space, const char* text, std::size_t most) {
    return ConvertWithin(out, space, text, most);
}

std::size_t ConvertUpTo(char* out, std::size_t space, const WideChar* text, std::size_t most) {
    return ConvertWithin(out, space, text, most);
}

}  // namespace runtime
