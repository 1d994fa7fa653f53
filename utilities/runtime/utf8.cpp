#include "utilities/runtime/utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "utilities/platform/widetext.h"
#include "utilities/runtime/surrogates.h"

namespace runtime {

namespace {

/// The characters that are copied at once.
constexpr std::ptrdiff_t BLOCK = 8;
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

template <class Word>
Word NotPlain(char, Word word) {
    return (word | (word - BYTE_ONES)) & BYTE_TOPS;
}
template <class Word>
Word NotPlain(WideChar, Word word) {
    return (word & UNIT_BEYOND_ASCII) | ((word - UNIT_ONES) & UNIT_TOPS);
}

template <class Word, class Char>
Word Load(const Char* text) {
    Word word;
    std::memcpy(&word, text, sizeof word);
    return word;
}

template <class In>
bool IsPlainBlock(const In* in) {
    if constexpr (sizeof(In) * BLOCK == sizeof(Words)) {
        const Words found = NotPlain(In(), Load<Words>(in));
        return (found[0] | found[1]) == 0;
    } else {
        return NotPlain(In(), Load<std::uint64_t>(in)) == 0;
    }
}

template <class Char>
using Block = std::conditional_t<sizeof(Char) == 1, Bytes, Units>;

template <class Out, class In>
void CopyBlock(Out* out, const In* in) {
    const auto converted = __builtin_convertvector(Load<Block<In>>(in), Block<Out>);
    std::memcpy(out, &converted, sizeof converted);
}

template <class Char>
std::size_t CountPlain(const Char* text, std::size_t length) {
    constexpr std::size_t COUNT = sizeof(Words) / sizeof(Char);
    const auto notPlain = [text](std::size_t i) { return NotPlain(Char(), Load<Words>(text + i)); };
    const auto isNone = [](Words found) { return (found[0] | found[1]) == 0; };
    std::size_t i = 0;
    while (length - i >= 2 * COUNT && isNone(notPlain(i) | notPlain(i + COUNT)))
        i += 2 * COUNT;
    while (length - i >= COUNT && isNone(notPlain(i)))
        i += COUNT;
    while (i < length && IsPlain(text[i]))
        ++i;
    return i;
}

/// The last block may overlap the one before it.
template <class Out, class In>
void CopyPlain(Out* out, const In* in, std::size_t count) {
    constexpr std::size_t COUNT = BLOCK;
    if (count < COUNT) {
        for (std::size_t i = 0; i < count; ++i)
            out[i] = static_cast<Out>(in[i]);
        return;
    }
    const std::size_t last = count - COUNT;
    for (std::size_t i = 0; i < last; i += COUNT)
        CopyBlock(out + i, in + i);
    CopyBlock(out + last, in + last);
}

/// What `DecodeAscii` and `EncodeAscii` do.
template <class Out, class In>
std::size_t ConvertAscii(Out* out, const In* text, std::size_t length, std::size_t capacity) {
    const std::size_t count = CountPlain(text, std::min(length, capacity));
    CopyPlain(out, text, count);
    return count == capacity || text[count] == In() ? count : platform::CONVERSION_FAILED;
}

/// How far a conversion has come.
template <class Out, class In>
struct Progress {
    Out* out;
    const In* in;
};

enum class Step { DONE, ENDED, FAILED };

/// Convert the character above 0x7F at `in` and go on after it; false, without a step, where there
/// is none. Nothing is read after a byte that doesn't continue a sequence, or a unit that doesn't
/// complete a pair, such as the terminating NUL.
bool ConvertOne(WideChar*& out, const char*& in) {
    // The bits of a continuing byte; more than 0x3F for any other.
    const auto bits = [&](int i) { return static_cast<unsigned char>(in[i]) ^ 0x80u; };
    const std::uint32_t lead = static_cast<unsigned char>(in[0]);
    const std::uint32_t second = lead < 0xC2 ? 0x40 : bits(1);
    if (second > 0x3F)
        return false;
    if (lead < 0xE0) {
        *out++ = static_cast<WideChar>((lead & 0x1F) << 6 | second);
        in += 2;
        return true;
    }
    const std::uint32_t third = bits(2);
    if (third > 0x3F)
        return false;
    if (lead < 0xF0) {
        const std::uint32_t point = (lead & 0x0F) << 12 | second << 6 | third;
        if (point < 0x800 || IsSurrogate(point))
            return false;
        *out++ = static_cast<WideChar>(point);
        in += 3;
        return true;
    }
    const std::uint32_t fourth = bits(3);
    const std::uint32_t point = (lead & 0x0F) << 18 | second << 12 | third << 6 | fourth;
    if (fourth > 0x3F || point < 0x10000 || point > 0x10FFFF)
        return false;
    out = WriteUnits(out, point);
    in += 4;
    return true;
}

/// Writes the `count` bytes of a sequence, of which `point` has the bits and `mark` those of the
/// first byte that tell the count.
template <int COUNT>
char* WriteSequence(char* out, std::uint32_t point, std::uint32_t mark) {
    out[0] = static_cast<char>(mark | point >> 6 * (COUNT - 1));
    for (int i = 1; i < COUNT; ++i)
        out[i] = static_cast<char>(0x80 | (point >> 6 * (COUNT - 1 - i) & 0x3F));
    return out + COUNT;
}

bool ConvertOne(char*& out, const WideChar*& in) {
    const std::uint32_t unit = *in;
    if (unit < 0x800) {
        if (unit == 0)
            return false;
        out = WriteSequence<2>(out, unit, 0xC0);
    } else if (!IsSurrogate(unit)) {
        out = WriteSequence<3>(out, unit, 0xE0);
    } else {
        const CodePoint point = ReadUnits(in);
        if (point.units == 1)
            return false;
        out = WriteSequence<4>(out, point.value, 0xF0);
        ++in;
    }
    ++in;
    return true;
}

/// Converts up to `stop`, or to a NUL in front of it; all of it fits. Where a block isn't plain,
/// mixed text is likely to go on, and looking for the next plain block would cost more than it
/// saves. Works on copies: the compiler knows that no byte written changes them.
template <class Out, class In>
Step ConvertUpTo(Progress<Out, In>& progress, const In* stop) {
    constexpr std::ptrdiff_t MIXED = 64;
    auto [out, in] = progress;
    bool goesOn = true;
    while (goesOn && in < stop) {
        if (stop - in >= BLOCK && IsPlainBlock(in)) {
            CopyBlock(out, in);
            out += BLOCK;
            in += BLOCK;
            continue;
        }
        const In* const mixedEnd = stop - in < MIXED ? stop : in + MIXED;
        while (goesOn && in < mixedEnd) {
            if (IsPlain(*in))
                *out++ = static_cast<Out>(*in++);
            else
                goesOn = ConvertOne(out, in);
        }
    }
    progress = {out, in};
    return goesOn ? Step::DONE : *in == In() ? Step::ENDED : Step::FAILED;
}

/// Converts the next character if it fits into the `space` bytes that are left; otherwise the
/// conversion has ended.
Step ConvertWithin(Progress<char, WideChar>& at, std::size_t space) {
    char bytes[4];
    Progress<char, WideChar> one{bytes, at.in};
    const Step step = ConvertUpTo(one, at.in + 1);
    const auto count = static_cast<std::size_t>(one.out - bytes);
    if (count > space)
        return Step::ENDED;
    at.out = std::copy_n(bytes, count, at.out);
    at.in = one.in;
    return step;
}

template <class Out, class In>
std::size_t ResultOf(const Progress<Out, In>& at, Step step, const Out* start) {
    return step == Step::FAILED ? platform::CONVERSION_FAILED
                                : static_cast<std::size_t>(at.out - start);
}

}  // namespace

std::size_t PlainLength(const char* text, std::size_t length) { return CountPlain(text, length); }
std::size_t PlainLength(const WideChar* text, std::size_t length) {
    return CountPlain(text, length);
}

void CopyAscii(WideChar* out, const char* text, std::size_t count) { CopyPlain(out, text, count); }
void CopyAscii(char* out, const WideChar* text, std::size_t count) { CopyPlain(out, text, count); }

std::size_t DecodeAscii(WideChar* out, const char* text, std::size_t length) {
    return ConvertAscii(out, text, length, length);
}

std::size_t EncodeAscii(char* out, const WideChar* text, std::size_t length, std::size_t capacity) {
    return ConvertAscii(out, text, length, capacity);
}

std::size_t DecodeUtf8(WideChar* out, const char* text, std::size_t length) {
    Progress<WideChar, char> at{out, text};
    const Step step = ConvertUpTo(at, text + length);
    return ResultOf(at, step, out);
}

// A unit takes up to three bytes, and a pair that the last one of several begins one more. As many
// as surely fit are converted at once, and the last ones one by one.
std::size_t EncodeUtf8(char* out, const WideChar* text, std::size_t length, std::size_t capacity) {
    Progress<char, WideChar> at{out, text};
    const WideChar* const end = text + length;
    Step step = Step::DONE;
    while (step == Step::DONE && at.in < end && at.out != out + capacity) {
        const std::size_t space = capacity - static_cast<std::size_t>(at.out - out);
        const std::size_t sure = std::min((space - 1) / 3, static_cast<std::size_t>(end - at.in));
        step = sure > 0 ? ConvertUpTo(at, at.in + sure) : ConvertWithin(at, space);
    }
    return ResultOf(at, step, out);
}

}  // namespace runtime
