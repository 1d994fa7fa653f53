/// Plain characters, which are the same in both widths: all of ASCII but NUL.
#ifndef UTILITIES_RUNTIME_PLAIN_H
#define UTILITIES_RUNTIME_PLAIN_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "utilities/frame/types.h"

namespace runtime {

/// The characters that are copied at once, as a vector of the processor's.
constexpr std::size_t BLOCK = 8;
using Bytes = std::uint8_t __attribute__((vector_size(BLOCK)));
using Units = std::uint16_t __attribute__((vector_size(2 * BLOCK)));
template <class Char>
using Block = std::conditional_t<sizeof(Char) == 1, Bytes, Units>;

constexpr bool IsPlain(WideChar unit) { return static_cast<WideChar>(unit - 1) < 0x7F; }
constexpr bool IsPlain(char byte) { return static_cast<unsigned char>(byte - 1) < 0x7F; }

template <class Char>
Block<Char> LoadBlock(const Char* text) {
    Block<Char> block;
    std::memcpy(&block, text, sizeof block);
    return block;
}

inline bool HasAny(Bytes block, std::uint64_t bits) {
    std::uint64_t word;
    std::memcpy(&word, &block, sizeof word);
    return (word & bits) != 0;
}

inline bool HasAny(Units block, std::uint64_t bits) {
    std::uint64_t words[2];
    std::memcpy(words, &block, sizeof words);
    return ((words[0] | words[1]) & bits) != 0;
}

/// Whether `COUNT` characters are plain. One that isn't has a bit above 0x7F, or is the NUL, before
/// which comes the largest number.
template <std::size_t COUNT = BLOCK, class Char>
bool ArePlain(const Char* text) {
    Block<Char> bits{};
    for (std::size_t i = 0; i < COUNT; i += BLOCK) {
        const Block<Char> block = LoadBlock(text + i);
        bits |= block | (block - 1);
    }
    return !HasAny(bits, sizeof(Char) == 1 ? 0x8080808080808080 : 0xFF80FF80FF80FF80);
}

template <class Char>
bool ArePlain(const Char* text, std::size_t length) {
    constexpr std::size_t COUNT = 4 * BLOCK;
    std::size_t i = 0;
    while (length - i >= COUNT && ArePlain<COUNT>(text + i))
        i += COUNT;
    while (i < length && IsPlain(text[i]))
        ++i;
    return i == length;
}

inline void CopyBlock(char* out, const WideChar* in) {
    const Bytes block = __builtin_convertvector(LoadBlock(in), Bytes);
    std::memcpy(out, &block, sizeof block);
}

/// Puts a zero behind each byte: g++ 12 takes five instructions for a conversion of the numbers.
inline void CopyBlock(WideChar* out, const char* in) {
    static_assert(std::endian::native == std::endian::little);
    const auto block = __builtin_shufflevector(LoadBlock(in), Bytes{}, 0, 8, 1, 9, 2, 10, 3, 11, 4,
                                               12, 5, 13, 6, 14, 7, 15);
    std::memcpy(out, &block, sizeof block);
}

/// Copies `COUNT` characters. False if one of them isn't plain.
template <std::size_t COUNT, class Out, class In>
bool CopyIfPlain(Out* out, const In* in) {
    for (std::size_t i = 0; i < COUNT; i += BLOCK)
        CopyBlock(out + i, in + i);
    return ArePlain<COUNT>(in);
}

/// Copies the plain characters at the start of the text and returns their number. What follows
/// them in the first `length` characters of `out` is unspecified. The last step of a long text may
/// overlap the one before it.
template <class Out, class In>
std::size_t CopyPlain(Out* out, const In* in, std::size_t length) {
    constexpr std::size_t COUNT = 4 * BLOCK;
    std::size_t i = 0;
    if (length >= COUNT) {
        const std::size_t last = length - COUNT;
        while (i < last && CopyIfPlain<COUNT>(out + i, in + i))
            i += COUNT;
        if (i >= last && CopyIfPlain<COUNT>(out + last, in + last))
            return length;
    }
    while (length - i >= BLOCK && CopyIfPlain<BLOCK>(out + i, in + i))
        i += BLOCK;
    while (i < length && IsPlain(in[i])) {
        out[i] = static_cast<Out>(in[i]);
        ++i;
    }
    return i;
}

}  // namespace runtime

#endif
