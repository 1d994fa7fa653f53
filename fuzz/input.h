/// What the fuzz targets share: taking the input apart, and telling of a broken property.
#ifndef FUZZ_INPUT_H
#define FUZZ_INPUT_H

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "utilities/values/multitype.h"

/// Ends the program where a property doesn't hold: the fuzzer then keeps the input.
#define REQUIRE(property)                                                                    \
    do {                                                                                     \
        if (!(property)) {                                                                   \
            std::fprintf(stderr, "%s:%d: %s doesn't hold\n", __FILE__, __LINE__, #property); \
            std::abort();                                                                    \
        }                                                                                    \
    } while (false)

using Bytes = std::vector<unsigned char>;

/// A copy of bytes at an odd address, in memory that ends where they end.
class UnalignedBlock {
public:
    explicit UnalignedBlock(const Bytes& bytes) : room(1 + bytes.size()) {
        std::copy(bytes.begin(), bytes.end(), room.begin() + 1);
    }
    unsigned char* Data() { return room.data() + 1; }
    Bytes Content() const { return {room.begin() + 1, room.end()}; }

private:
    Bytes room;
};

/// The bytes as characters of the type; an incomplete last one is left out.
template <class Char>
std::basic_string<Char> ToText(const Bytes& bytes) {
    std::basic_string<Char> text(bytes.size() / sizeof(Char), Char());
    if (!text.empty())
        std::memcpy(text.data(), bytes.data(), text.size() * sizeof(Char));
    return text;
}

/// Mostly a tag, sometimes a number that is none.
inline MultiType::TYPE TakeTag(FuzzedDataProvider& input) {
    const auto choice = input.ConsumeIntegralInRange<int>(-1, 16);
    return static_cast<MultiType::TYPE>(choice < 16 ? choice : input.ConsumeIntegral<int>());
}

#endif
