#include "utilities/runtime/decimal.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "utilities/runtime/digits.h"

// Up to eight digits of a double need none of the long arithmetic that all of its digits take. The
// number times a power of ten has the wanted digits in front of its point and what decides about
// the rounding after it.
//
// - A fixed number of places (`%f`): the power is a small integer and the product exact.
// - A number of significant digits (`%e`, `%g`): the power, any of those that doubles have, is kept
//   with its upper 64 bits. The product is then too small by less than two units in the last of
//   its upper 64 bits. Where that could change the rounding, which includes every number half-way
//   between two results, the standard library does the work. Cached powers and the bail-out are
//   those of F. Loitsch, "Printing Floating-Point Numbers Quickly and Accurately with Integers"
//   (PLDI 2010).
//
// Halves are rounded to even, as the host's printf does it.

namespace runtime {
namespace {

__extension__ using Product = unsigned __int128;

/// The most digits, and places, that are made here.
constexpr int MOST_DIGITS = 8, MOST_PLACES = 9;

/// The powers of ten that scale a double to 1 to 8 digits.
constexpr int LOWEST_POWER = -308;
constexpr int HIGHEST_POWER = 323 + MOST_DIGITS;

/// Those up to here have no more than 64 bits, without the trailing zeros.
constexpr int HIGHEST_EXACT_POWER = 27;

/// A whole number of 832 bits, lowest part first.
using Limbs = std::array<std::uint32_t, 26>;

/// Its upper 64 bits, from the first that isn't 0.
constexpr std::uint64_t UpperBits(const Limbs& number) {
    std::size_t top = number.size() - 1;
    while (number[top] == 0)
        --top;
    const auto limb = [&](std::size_t below) -> std::uint64_t {
        return below <= top ? number[top - below] : 0;
    };
    const int shift = std::countl_zero(number[top]);
    return (limb(0) << 32 | limb(1)) << shift | limb(2) << shift >> 32;
}

/// The upper 64 bits of each power. Those of 10^n are those of 5^n.
constexpr auto POWERS = [] {
    std::array<std::uint64_t, HIGHEST_POWER - LOWEST_POWER + 1> powers{};
    Limbs number{1};
    for (std::size_t i = -LOWEST_POWER; i < powers.size(); ++i) {
        powers[i] = UpperBits(number);
        std::uint64_t carry = 0;
        for (std::uint32_t& limb : number) {
            carry += std::uint64_t{limb} * 5;
            limb = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
    }
    number = {};
    number.back() = 1;
    for (std::size_t i = -LOWEST_POWER; i-- > 0;) {
        std::uint64_t rest = 0;
        for (std::size_t limb = number.size(); limb-- > 0;) {
            rest = rest << 32 | number[limb];
            number[limb] = static_cast<std::uint32_t>(rest / 5);
            rest %= 5;
        }
        powers[i] = UpperBits(number);
    }
    return powers;
}();

/// The greatest n with 10^n <= 2^exponent, and with 2^n <= 10^exponent, for all exponents in use.
constexpr int FloorLog10Of2To(int exponent) { return (exponent * 1262611) >> 22; }
constexpr int FloorLog2Of10To(int exponent) { return (exponent * 1741647) >> 19; }

/// `significand` times 2^`exponent`.
struct Binary {
    std::uint64_t significand;
    int exponent;
};

/// The parts of a finite number that isn't negative.
Binary PartsOf(double magnitude) {
    constexpr int FRACTION_BITS = 52, BIAS = 1075;
    const auto bits = std::bit_cast<std::uint64_t>(magnitude);
    const auto exponent = static_cast<int>(bits >> FRACTION_BITS);
    const std::uint64_t fraction = bits & ((std::uint64_t{1} << FRACTION_BITS) - 1);
    if (exponent == 0)
        return {fraction, 1 - BIAS};
    return {fraction | std::uint64_t{1} << FRACTION_BITS, exponent - BIAS};
}

/// The first digits of a number, which they make with the point after the first of them and times
/// 10^`exponent`.
struct Digits {
    std::uint64_t digits;
    int exponent;
};

/// The first `count` digits, or nothing where the upper bits don't tell how to round.
std::optional<Digits> Round(double magnitude, int count) {
    if (magnitude == 0)
        return Digits{0, 0};
    Binary number = PartsOf(magnitude);
    const int zeros = std::countl_zero(number.significand);
    number.significand <<= zeros;
    number.exponent -= zeros;

    // The number is less than twice that power of two, so the product may have one digit more.
    int exponent = FloorLog10Of2To(number.exponent + 63);
    const int power = count - 1 - exponent;
    const Product product =
        Product{number.significand} * POWERS[static_cast<std::size_t>(power - LOWEST_POWER)];
    const auto upper = static_cast<std::uint64_t>(product >> 64);
    const int fractionBits = -1 - number.exponent - FloorLog2Of10To(power);
    std::uint64_t digits = upper >> fractionBits;
    std::uint64_t half = std::uint64_t{1} << (fractionBits - 1);
    std::uint64_t rest = upper & (2 * half - 1);
    const std::uint64_t limit = POWERS_OF_TEN[static_cast<std::size_t>(count)];
    if (digits >= limit) {
        rest += digits % 10 * (2 * half);
        half *= 10;
        digits /= 10;
        ++exponent;
    }

    if (power >= 0 && power <= HIGHEST_EXACT_POWER) {
        const bool isHalf = rest == half && static_cast<std::uint64_t>(product) == 0;
        digits += isHalf ? digits & 1 : rest >= half;
    } else {
        if (rest == half - 1)
            return std::nullopt;
        digits += rest >= half;
    }
    if (digits == limit)
        return Digits{limit / 10, exponent + 1};
    return Digits{digits, exponent};
}

/// The number times 10^`places` as a whole number, or nothing where it is large.
std::optional<std::uint64_t> RoundAfter(double magnitude, int places) {
    const Binary number = PartsOf(magnitude);
    const Product product =
        Product{number.significand} * POWERS_OF_TEN[static_cast<std::size_t>(places)];
    const int fractionBits = -number.exponent;
    if (fractionBits >= 128)
        return 0;
    if (fractionBits <= 0 || product >> fractionBits >> 63 != 0)
        return std::nullopt;
    const auto whole = static_cast<std::uint64_t>(product >> fractionBits);
    const Product half = Product{1} << (fractionBits - 1);
    const Product rest = product & (2 * half - 1);
    return whole + (rest == half ? whole & 1 : rest > half);
}

/// Writes the `count` characters of a word with a point after the `whole` first ones, if any
/// follow.
char* WriteWithPoint(char* out, std::uint64_t digits, std::size_t count, std::size_t whole) {
    out = WriteWord(out, digits, whole);
    if (count <= whole)
        return out;
    *out++ = '.';
    return WriteWord(out, digits >> 8 * whole, count - whole);
}

char* WriteFixed(char* out, std::uint64_t scaled, std::size_t places) {
    const std::size_t count = std::max(CountDigits(scaled), places + 1);
    if (count <= MOST_DIGITS) {
        const std::uint64_t digits = (EightDigits(scaled) | ZERO_DIGITS) >> 8 * (8 - count);
        return WriteWithPoint(out, digits, count, count - places);
    }
    const std::uint64_t unit = POWERS_OF_TEN[places];
    out = WriteDigits(out, count - places, scaled / unit);
    if (places == 0)
        return out;
    *out++ = '.';
    return WriteDigits(out, places, scaled % unit);
}

/// The digits are characters of a word, of which `count` are to be written.
char* WriteScientific(char* out, std::uint64_t digits, std::size_t count, int exponent) {
    out = WriteWithPoint(out, digits, count, 1);
    *out++ = 'e';
    *out++ = exponent < 0 ? '-' : '+';
    const auto magnitude = static_cast<std::uint64_t>(std::abs(exponent));
    return WriteDigits(out, magnitude < 100 ? 2 : 3, magnitude);
}

/// In the shorter form. Of `count` digits only the `significant` first ones are not zeros.
char* WriteGeneral(char* out, std::uint64_t digits, std::size_t count, std::size_t significant,
                   int exponent) {
    if (exponent < -4 || exponent >= static_cast<int>(count))
        return WriteScientific(out, digits, significant, exponent);
    if (exponent < 0) {
        WriteWord(out, ZERO_DIGITS, 8);
        out[1] = '.';
        return WriteWord(out + 1 - exponent, digits, significant);
    }
    return WriteWithPoint(out, digits, significant, static_cast<std::size_t>(exponent) + 1);
}

/// Returns null where the work is the standard library's.
char* WriteShort(char* out, double magnitude, std::chars_format form, int precision) {
    if (form == std::chars_format::fixed) {
        const std::optional<std::uint64_t> scaled =
            precision <= MOST_PLACES ? RoundAfter(magnitude, precision) : std::nullopt;
        return scaled ? WriteFixed(out, *scaled, static_cast<std::size_t>(precision)) : nullptr;
    }
    const bool isGeneral = form == std::chars_format::general;
    const int count = isGeneral ? std::max(precision, 1) : precision + 1;
    const std::optional<Digits> number =
        count <= MOST_DIGITS ? Round(magnitude, count) : std::nullopt;
    if (!number)
        return nullptr;
    const auto length = static_cast<std::size_t>(count);
    const std::uint64_t word = EightDigits(number->digits) >> 8 * (MOST_DIGITS - count);
    const std::uint64_t characters = word | ZERO_DIGITS;
    if (!isGeneral)
        return WriteScientific(out, characters, length, number->exponent);
    const auto significant = 8 - static_cast<std::size_t>(std::countl_zero(word | 1)) / 8;
    return WriteGeneral(out, characters, length, significant, number->exponent);
}

}  // namespace

char* WriteDecimal(char* first, char* last, double value, std::chars_format form, int precision) {
    if (std::signbit(value))
        *first++ = '-';
    const double magnitude = std::abs(value);
    char* const end =
        std::isfinite(value) ? WriteShort(first, magnitude, form, precision) : nullptr;
    return end != nullptr ? end : std::to_chars(first, last, magnitude, form, precision).ptr;
}

}  // namespace runtime
