/// Whole numbers as decimal digits.
#ifndef UTILITIES_RUNTIME_DIGITS_H
#define UTILITIES_RUNTIME_DIGITS_H

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace runtime {

/// The powers of ten that fit into 64 bits.
inline constexpr auto POWERS_OF_TEN = [] {
    std::array<std::uint64_t, 20> powers{1};
    for (std::size_t i = 1; i < powers.size(); ++i)
        powers[i] = powers[i - 1] * 10;
    return powers;
}();

/// How many digits `value` has; 0 has one.
inline std::size_t CountDigits(std::uint64_t value) {
    // The logarithm to the base of 2 times that of 2 to the base of 10: right, or one too low.
    const auto estimate = static_cast<std::size_t>(std::bit_width(value | 1)) * 1233 >> 12;
    return estimate + (value >= POWERS_OF_TEN[estimate] || value == 0 ? 1 : 0);
}

/// Digits as characters in the bytes of a word, the first one in the lowest.
static_assert(std::endian::native == std::endian::little);
inline constexpr std::uint64_t ZERO_DIGITS = 0x3030303030303030;

/// The eight digits of `value`, which has no more, as numbers in such a word. Both halves are taken
/// apart at once, then the four quarters: P. Khuong, "How to print integers really fast" (2017).
inline std::uint64_t EightDigits(std::uint64_t value) {
    const std::uint64_t halves = value / 10000 | value % 10000 << 32;
    const std::uint64_t hundreds = (halves * 10486 >> 20) & 0x7F0000007F;
    const std::uint64_t quarters = hundreds | (halves - 100 * hundreds) << 16;
    const std::uint64_t tens = (quarters * 103 >> 10) & 0xF000F000F000F;
    return tens | (quarters - 10 * tens) << 8;
}

/// Writes the first `count` characters of the word, and anything after them up to eight. Returns
/// the end of the `count`.
inline char* WriteWord(char* out, std::uint64_t word, std::size_t count) {
    std::memcpy(out, &word, sizeof word);
    return out + count;
}

/// Writes the `count` digits of `value`, of which the first ones may be zeros, and returns their
/// end. At least eight bytes are written, whatever the count.
inline char* WriteDigits(char* out, std::size_t count, std::uint64_t value) {
    constexpr std::size_t WORD = 8;
    constexpr std::uint64_t UNIT = POWERS_OF_TEN[WORD];
    if (count > WORD) {
        out = WriteDigits(out, count - WORD, value / UNIT);
        value %= UNIT;
        count = WORD;
    }
    return WriteWord(out, (EightDigits(value) | ZERO_DIGITS) >> 8 * (WORD - count), count);
}

}  // namespace runtime

#endif
