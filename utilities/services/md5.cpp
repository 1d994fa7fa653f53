#include "utilities/services/md5.h"

#include <bit>
#include <cstddef>
#include <cstring>
#include <utility>

#include "utilities/frame/assert_internal.h"

namespace {

constexpr char ASSERT_MODULE[] = ".\\md5";

constexpr std::size_t BLOCK_SIZE = 64;
constexpr std::size_t COUNT_OFFSET = 56;  // The last 8 bytes of the last block are the bit count.

constexpr std::uint32_t INITIAL_STATE[4] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};

// RFC 1321, 3.4: the integer part of 2^32 * |sin(step + 1)|, for the steps 0 to 63.
constexpr std::uint32_t SINES[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

// A round has 16 steps. Step i takes word (firstWord + i * wordStride) modulo 16 of the block and
// rotates by shifts[i % 4].
struct Round {
    int shifts[4];
    unsigned int firstWord;
    unsigned int wordStride;
};
constexpr Round ROUNDS[4] = {{{7, 12, 17, 22}, 0, 1},
                             {{5, 9, 14, 20}, 1, 5},
                             {{4, 11, 16, 23}, 5, 3},
                             {{6, 10, 15, 21}, 0, 7}};

std::uint32_t InLittleEndian(std::uint32_t word) {
    if constexpr (std::endian::native == std::endian::big)
        return __builtin_bswap32(word);
    return word;
}

std::uint32_t LoadWord(const unsigned char* bytes) {
    std::uint32_t word;
    std::memcpy(&word, bytes, sizeof word);
    return InLittleEndian(word);
}

void StoreWord(unsigned char* bytes, std::uint32_t word) {
    word = InLittleEndian(word);
    std::memcpy(bytes, &word, sizeof word);
}

// Makes the compiler compute `sum` up to here. Otherwise it moves constants to the end of the sum,
// after the operand that is available last, and the step takes longer.
[[gnu::always_inline]] inline void Settle(std::uint32_t& sum) { asm("" : "+r"(sum)); }

// One step. `b` is the result of the step before and the last operand to be available. So all terms
// without `b` are added first: the word, the constant, and in the second round one half of the
// round's function (b & d) | (c & ~d), whose halves have no bit in common and can be added.
template <std::size_t STEP>
[[gnu::always_inline]] inline void Step(std::uint32_t& a, std::uint32_t b, std::uint32_t c,
                                        std::uint32_t d, const unsigned char* block) {
    constexpr Round ROUND = ROUNDS[STEP / 16];
    constexpr std::size_t WORD = (ROUND.firstWord + STEP * ROUND.wordStride) % 16;
    a += LoadWord(block + 4 * WORD) + SINES[STEP];
    if constexpr (STEP >= 16 && STEP < 32)
        a += c & ~d;
    Settle(a);
    if constexpr (STEP < 16)
        a += d ^ (b & (c ^ d));
    else if constexpr (STEP < 32)
        a += b & d;
    else if constexpr (STEP < 48)
        a += b ^ (c ^ d);
    else
        a += c ^ (b | ~d);
    a = std::rotl(a, ROUND.shifts[STEP % 4]) + b;
}

template <std::size_t FIRST>
[[gnu::always_inline]] inline void FourSteps(std::uint32_t& a, std::uint32_t& b, std::uint32_t& c,
                                             std::uint32_t& d, const unsigned char* block) {
    Step<FIRST>(a, b, c, d, block);
    Step<FIRST + 1>(d, a, b, c, block);
    Step<FIRST + 2>(c, d, a, b, block);
    Step<FIRST + 3>(b, c, d, a, block);
}

// The 64 steps, unrolled, so that each has its word, constant and rotation at compile time.
template <std::size_t... FOURS>
[[gnu::always_inline]] inline void AllSteps(std::uint32_t& a, std::uint32_t& b, std::uint32_t& c,
                                            std::uint32_t& d, const unsigned char* block,
                                            std::index_sequence<FOURS...>) {
    (FourSteps<4 * FOURS>(a, b, c, d, block), ...);
}

// The RFC's transform of `number` blocks in a row.
void Transform(std::uint32_t (&state)[4], const unsigned char* blocks, std::size_t number) {
    std::uint32_t a = state[0], b = state[1], c = state[2], d = state[3];
    for (; number > 0; --number, blocks += BLOCK_SIZE) {
        const std::uint32_t before[4] = {a, b, c, d};
        AllSteps(a, b, c, d, blocks, std::make_index_sequence<16>());
        a += before[0];
        b += before[1];
        c += before[2];
        d += before[3];
    }
    state[0] = a;
    state[1] = b;
    state[2] = c;
    state[3] = d;
}

}  // namespace

MD5::MD5() : count{}, buffer{}, digest{}, finalized(false) {
    std::memcpy(state, INITIAL_STATE, sizeof state);
}

MD5::MD5(const unsigned char* input, unsigned int length) : MD5() {
    update(input, length);
    finalize();
}

MD5::MD5(const char* input, unsigned int length)
    : MD5(reinterpret_cast<const unsigned char*>(input), length) {}

MD5::MD5(const MD5& other) = default;
MD5& MD5::operator=(const MD5& other) = default;
MD5::~MD5() = default;

void MD5::update(const unsigned char* input, unsigned int length) {
    if (finalized) {
        ASSERT(false);
        return;
    }
    if (length == 0)
        return;
    const std::size_t fill = count[0] / 8 % BLOCK_SIZE;
    // The low 32 bits of 8 * length; the top 3 bits go to the high word with the carry.
    count[0] += length << 3;
    count[1] += (length >> 29) + (count[0] < length << 3 ? 1 : 0);

    std::size_t rest = length;
    if (fill > 0) {
        const std::size_t missing = BLOCK_SIZE - fill;
        if (rest < missing) {
            std::memcpy(buffer + fill, input, rest);
            return;
        }
        std::memcpy(buffer + fill, input, missing);
        Transform(state, buffer, 1);
        input += missing;
        rest -= missing;
    }
    Transform(state, input, rest / BLOCK_SIZE);
    std::memcpy(buffer, input + rest / BLOCK_SIZE * BLOCK_SIZE, rest % BLOCK_SIZE);
}

void MD5::update(const char* input, unsigned int length) {
    update(reinterpret_cast<const unsigned char*>(input), length);
}

void MD5::finalize() {
    if (finalized)
        return;
    std::size_t fill = count[0] / 8 % BLOCK_SIZE;
    buffer[fill++] = 0x80;
    if (fill > COUNT_OFFSET) {  // The bit count needs a block of its own.
        std::memset(buffer + fill, 0, BLOCK_SIZE - fill);
        Transform(state, buffer, 1);
        fill = 0;
    }
    std::memset(buffer + fill, 0, COUNT_OFFSET - fill);
    StoreWord(buffer + COUNT_OFFSET, count[0]);
    StoreWord(buffer + COUNT_OFFSET + 4, count[1]);
    Transform(state, buffer, 1);

    for (std::size_t i = 0; i < 4; ++i)
        StoreWord(digest + 4 * i, state[i]);
    finalized = true;
}

void MD5::raw_digest(unsigned char* output) {
    if (!finalized) {
        ASSERT(false);
        return;
    }
    std::memcpy(output, digest, sizeof digest);
}

std::basic_string<char> MD5::hex_digest() {
    constexpr char DIGITS[] = "0123456789abcdef";
    std::basic_string<char> text;
    if (!finalized) {
        ASSERT(false);
        return text;
    }
    text.reserve(2 * sizeof digest);
    for (const unsigned char byte : digest) {
        text += DIGITS[byte >> 4];
        text += DIGITS[byte & 0xF];
    }
    return text;
}
