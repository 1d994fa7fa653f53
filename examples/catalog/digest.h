/// The digests of a file's content.
#ifndef CATALOG_DIGEST_H
#define CATALOG_DIGEST_H

#include <array>
#include <cstddef>
#include <memory>
#include <string>

#include "utilities/utilities.h"

/// Digests as bytes. MD5, which is always there, tells what changed by accident; SHA-256, on
/// request, what somebody changed on purpose too.
struct Digests {
    std::array<char, 16> md5{};
    std::array<char, 32> sha256{};
    bool hasSha256 = false;
};

/// Whether both have the same digests, as far as both have them.
bool IsSameContent(const Digests& one, const Digests& other);

/// Computes digests over data in many pieces.
class Hasher {
public:
    /// Throws `std::runtime_error` if SHA-256 is asked for and the program was built without it.
    explicit Hasher(bool withSha256);
    ~Hasher();
    Hasher(const Hasher&) = delete;
    Hasher& operator=(const Hasher&) = delete;

    void Update(const char* data, std::size_t size);
    Digests Finish();

private:
    struct Sha256;

    MD5 m_Md5;
    std::unique_ptr<Sha256> m_Sha256;  ///< Null if it isn't wanted.
};

/// Bytes as lower-case hexadecimal digits.
template <std::size_t SIZE>
String HexOf(const std::array<char, SIZE>& bytes) {
    constexpr char DIGITS[] = "0123456789abcdef";
    std::string hex(2 * SIZE, '0');
    for (std::size_t i = 0; i < SIZE; ++i) {
        hex[2 * i] = DIGITS[static_cast<unsigned char>(bytes[i]) >> 4];
        hex[2 * i + 1] = DIGITS[bytes[i] & 15];
    }
    return String(std::move(hex));
}

/// Reads hexadecimal digits of either case; false unless they are digits for just SIZE bytes.
bool ReadHex(const std::string& hex, char* bytes, std::size_t size);

#endif
