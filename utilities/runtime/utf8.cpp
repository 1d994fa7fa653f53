#include "utilities/runtime/utf8.h"

#include <algorithm>
#include <cstdint>

#include "utilities/platform/widetext.h"
#include "utilities/runtime/plain.h"
#include "utilities/runtime/surrogates.h"

namespace runtime {

namespace {

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
        if (static_cast<std::size_t>(stop - in) >= BLOCK && ArePlain(in)) {
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
