#include "utilities/runtime/utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "utilities/platform/widetext.h"
#include "utilities/runtime/surrogates.h"

namespace runtime {

namespace {

constexpr std::ptrdiff_t BLOCK = 16;
using Bytes = std::uint8_t __attribute__((vector_size(BLOCK)));
using Units = std::uint16_t __attribute__((vector_size(2 * BLOCK)));
/// Two words, as every 64-bit processor has registers for.
using Words = std::uint64_t __attribute__((vector_size(16)));

constexpr bool IsPlain(WideChar unit) { return static_cast<WideChar>(unit - 1) < 0x7F; }
constexpr bool IsPlain(char byte) { return static_cast<unsigned char>(byte - 1) < 0x7F; }

/// Marks the characters of each word that are NUL or above 0x7F: taking 1 from each sets the top
/// bit of one that is zero.
constexpr std::uint64_t BYTE_ONES = 0x0101010101010101, BYTE_TOPS = 0x8080808080808080;
constexpr std::uint64_t UNIT_ONES = 0x0001000100010001, UNIT_TOPS = 0x8000800080008000;
constexpr std::uint64_t UNIT_BEYOND_ASCII = 0xFF80FF80FF80FF80;

Words NotPlain(char, Words words) { return (words | (words - BYTE_ONES)) & BYTE_TOPS; }
Words NotPlain(WideChar, Words words) {
    return (words & UNIT_BEYOND_ASCII) | ((words - UNIT_ONES) & UNIT_TOPS);
}

template <class Char>
using Block = std::conditional_t<sizeof(Char) == 1, Bytes, Units>;

/// Copies `BLOCK` characters if none of them is NUL or above 0x7F.
template <class Out, class In>
bool CopyPlainBlock(Out* out, const In* in) {
    Words words[BLOCK * sizeof(In) / sizeof(Words)];
    std::memcpy(words, in, sizeof words);
    Words found{};
    for (const Words& pair : words)
        found |= NotPlain(In(), pair);
    if ((found[0] | found[1]) != 0)
        return false;
    Block<In> block;
    std::memcpy(&block, in, sizeof block);
    const auto converted = __builtin_convertvector(block, Block<Out>);
    std::memcpy(out, &converted, sizeof converted);
    return true;
}

/// The first form of `DecodeAscii` and `EncodeAscii`.
template <class Out, class In>
std::size_t ConvertAscii(Out* out, const In* text, std::size_t length, std::size_t capacity) {
    const auto most = static_cast<std::ptrdiff_t>(std::min(length, capacity));
    std::ptrdiff_t i = 0;
    while (most - i >= BLOCK && CopyPlainBlock(out + i, text + i))
        i += BLOCK;
    for (; i < most && IsPlain(text[i]); ++i)
        out[i] = static_cast<Out>(text[i]);
    const auto written = static_cast<std::size_t>(i);
    return written == capacity || text[i] == In() ? written : platform::CONVERSION_FAILED;
}

/// How far a conversion has come.
template <class Out, class In>
struct Progress {
    Out* out;
    Out* outEnd;
    const In* in;
};

enum class Step { DONE, ENDED, FAILED };

/// Converts the sequence of two to four bytes at `at.in`. Nothing is read after a byte that doesn't
/// continue the sequence, such as the terminating NUL.
Step ConvertOne(Progress<WideChar, char>& at) {
    const auto byte = [&at](int i) -> char32_t { return static_cast<unsigned char>(at.in[i]); };
    const auto continues = [&byte](int i) { return (byte(i) & 0xC0) == 0x80; };
    const char32_t lead = byte(0);
    if (lead < 0xC2 || lead > 0xF4 || !continues(1))
        return Step::FAILED;
    char32_t point = byte(1) & 0x3F;
    if (lead < 0xE0) {
        *at.out++ = static_cast<WideChar>((lead & 0x1F) << 6 | point);
        at.in += 2;
        return Step::DONE;
    }
    if (!continues(2))
        return Step::FAILED;
    point = point << 6 | (byte(2) & 0x3F);
    if (lead < 0xF0) {
        point |= (lead & 0x0F) << 12;
        if (point < 0x800 || IsSurrogate(point))
            return Step::FAILED;
        *at.out++ = static_cast<WideChar>(point);
        at.in += 3;
        return Step::DONE;
    }
    point = (lead & 0x07) << 18 | point << 6 | (byte(3) & 0x3F);
    if (!continues(3) || point < 0x10000 || point > 0x10FFFF)
        return Step::FAILED;
    at.out = WriteUnits(at.out, point);
    at.in += 4;
    return Step::DONE;
}

constexpr char Trailing(char32_t point, int shift) {
    return static_cast<char>(0x80 | ((point >> shift) & 0x3F));
}

/// Converts the unit or pair above 0x7F at `at.in`.
Step ConvertOne(Progress<char, WideChar>& at) {
    const char32_t unit = *at.in;
    if (unit < 0x800) {
        *at.out++ = static_cast<char>(0xC0 | unit >> 6);
        *at.out++ = Trailing(unit, 0);
    } else if (!IsSurrogate(unit)) {
        *at.out++ = static_cast<char>(0xE0 | unit >> 12);
        *at.out++ = Trailing(unit, 6);
        *at.out++ = Trailing(unit, 0);
    } else {
        const CodePoint point = ReadUnits(at.in);
        if (point.units == 1)
            return Step::FAILED;
        *at.out++ = static_cast<char>(0xF0 | point.value >> 18);
        *at.out++ = Trailing(point.value, 12);
        *at.out++ = Trailing(point.value, 6);
        *at.out++ = Trailing(point.value, 0);
        ++at.in;
    }
    ++at.in;
    return Step::DONE;
}

/// Converts character by character up to `stop`; all of them fit. It works on a copy of the
/// progress: the compiler knows that no byte written changes it.
template <class Out, class In>
Step ConvertEach(Progress<Out, In>& progress, const In* stop) {
    Progress<Out, In> at = progress;
    Step step = Step::DONE;
    while (step == Step::DONE && at.in < stop) {
        if (IsPlain(*at.in))
            *at.out++ = static_cast<Out>(*at.in++);
        else
            step = *at.in == In() ? Step::ENDED : ConvertOne(at);
    }
    progress = at;
    return step;
}

/// The same where a character may not fit: each is converted aside first. Out of line, so that it
/// takes no registers from the usual case.
[[gnu::noinline]] Step ConvertAside(Progress<char, WideChar>& at, const WideChar* stop) {
    Step step = Step::DONE;
    while (step == Step::DONE && at.in < stop && at.out != at.outEnd) {
        char bytes[4];
        Progress<char, WideChar> one{bytes, bytes + sizeof bytes, at.in};
        step = ConvertEach(one, at.in + 1);
        if (at.outEnd - at.out < one.out - bytes)
            return Step::ENDED;
        at.out = std::copy(bytes, one.out, at.out);
        at.in = one.in;
    }
    return step;
}

/// No sequence has more units than bytes, and the output has a unit for each byte.
Step ConvertWithin(Progress<WideChar, char>& at, const char* stop) { return ConvertEach(at, stop); }

/// A unit takes up to three bytes, a pair that the last one begins one more.
Step ConvertWithin(Progress<char, WideChar>& at, const WideChar* stop) {
    return at.outEnd - at.out > 3 * (stop - at.in) ? ConvertEach(at, stop) : ConvertAside(at, stop);
}

/// Whole blocks of ASCII go at once; where a block holds something else, its characters go one by
/// one before the next block is tried.
template <class Out, class In>
std::size_t Convert(Out* const out, const In* text, std::size_t length, std::size_t capacity) {
    Progress<Out, In> at{out, out + capacity, text};
    const In* const end = text + length;
    while (at.in < end && at.out != at.outEnd) {
        const bool hasBlock = end - at.in >= BLOCK;
        if (hasBlock && at.outEnd - at.out >= BLOCK && CopyPlainBlock(at.out, at.in)) {
            at.out += BLOCK;
            at.in += BLOCK;
            continue;
        }
        const Step step = ConvertWithin(at, hasBlock ? at.in + BLOCK : end);
        if (step == Step::FAILED)
            return platform::CONVERSION_FAILED;
        if (step == Step::ENDED)
            break;
    }
    return static_cast<std::size_t>(at.out - out);
}

}  // namespace

std::size_t DecodeAscii(WideChar* out, const char* text, std::size_t length) {
    return ConvertAscii(out, text, length, length);
}

std::size_t EncodeAscii(char* out, const WideChar* text, std::size_t length, std::size_t capacity) {
    return ConvertAscii(out, text, length, capacity);
}

std::size_t DecodeUtf8(WideChar* out, const char* text, std::size_t length) {
    return Convert(out, text, length, length);
}

std::size_t EncodeUtf8(char* out, const WideChar* text, std::size_t length, std::size_t capacity) {
    return Convert(out, text, length, capacity);
}

}  // namespace runtime
