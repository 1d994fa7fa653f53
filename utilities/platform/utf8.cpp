#include "utilities/platform/utf8.h"

#include <algorithm>

#include "utilities/platform/surrogates.h"
#include "utilities/platform/widetext.h"

namespace platform {

namespace {

constexpr bool IsPlain(WideChar unit) { return static_cast<WideChar>(unit - 1) < 0x7F; }
constexpr bool IsPlain(char byte) { return static_cast<unsigned char>(byte - 1) < 0x7F; }

/// Copies what comes before the first character that is NUL or above 0x7F, at most `count`, and
/// gives its length. Whole blocks are tested and copied without a branch for each character.
template <class Out, class In>
std::size_t CopyPlain(Out* out, const In* in, std::size_t count) {
    constexpr std::size_t BLOCK = 16;
    std::size_t i = 0;
    for (; i + BLOCK <= count; i += BLOCK) {
        unsigned char plain = 1;
        for (std::size_t j = 0; j < BLOCK; ++j)
            plain &= static_cast<unsigned char>(IsPlain(in[i + j]));
        if (!plain)
            break;
        for (std::size_t j = 0; j < BLOCK; ++j)
            out[i + j] = static_cast<Out>(in[i + j]);
    }
    for (; i < count && IsPlain(in[i]); ++i)
        out[i] = static_cast<Out>(in[i]);
    return i;
}

/// The first form of `DecodeAscii` and `EncodeAscii`.
template <class Out, class In>
std::size_t ConvertAscii(Out* out, const In* text, std::size_t length, std::size_t capacity) {
    const std::size_t written = CopyPlain(out, text, std::min(length, capacity));
    const bool ended = written == capacity || text[written] == In();
    return ended ? written : CONVERSION_FAILED;
}

struct Sequence {
    char32_t point;
    std::size_t size;  ///< In bytes; 0 where the sequence is no character.
};

/// The sequence of two to four bytes at `text`. A byte that doesn't continue it ends the reading,
/// the terminating NUL too.
Sequence ReadSequence(const char* text) {
    const auto byte = [text](int i) -> char32_t { return static_cast<unsigned char>(text[i]); };
    const auto continues = [&byte](int i) { return (byte(i) & 0xC0) == 0x80; };
    const char32_t lead = byte(0);
    if (lead < 0xC2 || lead > 0xF4 || !continues(1))
        return {0, 0};
    char32_t point = byte(1) & 0x3F;
    if (lead < 0xE0)
        return {(lead & 0x1F) << 6 | point, 2};
    if (!continues(2))
        return {0, 0};
    point = point << 6 | (byte(2) & 0x3F);
    if (lead < 0xF0) {
        point |= (lead & 0x0F) << 12;
        return {point, point >= 0x800 && !IsSurrogate(point) ? 3u : 0u};
    }
    if (!continues(3))
        return {0, 0};
    point = (lead & 0x07) << 18 | point << 6 | (byte(3) & 0x3F);
    return {point, point >= 0x10000 && point <= 0x10FFFF ? 4u : 0u};
}

/// The bytes that encode `point`, which is none below 0x80.
constexpr std::size_t EncodedSize(char32_t point) {
    return point < 0x800 ? 2 : point < 0x10000 ? 3 : 4;
}

void WriteSequence(char* out, char32_t point, std::size_t size) {
    constexpr unsigned char LEADS[] = {0, 0, 0xC0, 0xE0, 0xF0};
    for (std::size_t i = size - 1; i > 0; --i) {
        out[i] = static_cast<char>(0x80 | (point & 0x3F));
        point >>= 6;
    }
    out[0] = static_cast<char>(LEADS[size] | point);
}

}  // namespace

std::size_t DecodeAscii(WideChar* out, const char* text, std::size_t length, std::size_t capacity) {
    return ConvertAscii(out, text, length, capacity);
}

std::size_t EncodeAscii(char* out, const WideChar* text, std::size_t length, std::size_t capacity) {
    return ConvertAscii(out, text, length, capacity);
}

std::size_t DecodeUtf8(WideChar* out, const char* text, std::size_t length, std::size_t capacity) {
    const char* const end = text + length;
    std::size_t written = 0;
    while (written < capacity) {
        const std::size_t room = std::min(static_cast<std::size_t>(end - text), capacity - written);
        const std::size_t plain = CopyPlain(out + written, text, room);
        written += plain;
        text += plain;
        if (written == capacity || *text == '\0')
            break;
        const Sequence sequence = ReadSequence(text);
        if (sequence.size == 0)
            return CONVERSION_FAILED;
        const std::size_t units = WriteUnits(out + written, sequence.point, capacity - written);
        if (units == 0)
            break;
        written += units;
        text += sequence.size;
    }
    return written;
}

std::size_t EncodeUtf8(char* out, const WideChar* text, std::size_t length, std::size_t capacity) {
    const WideChar* const end = text + length;
    std::size_t written = 0;
    while (written < capacity) {
        const std::size_t room = std::min(static_cast<std::size_t>(end - text), capacity - written);
        const std::size_t plain = CopyPlain(out + written, text, room);
        written += plain;
        text += plain;
        if (written == capacity || *text == u'\0')
            break;
        const CodePoint point = ReadUnits(text);
        if (IsSurrogate(point.value))
            return CONVERSION_FAILED;
        const std::size_t size = EncodedSize(point.value);
        if (capacity - written < size)
            break;
        WriteSequence(out + written, point.value, size);
        written += size;
        text += point.units;
    }
    return written;
}

}  // namespace platform
