// Foreign bytes become a value, and the value becomes bytes again, in both byte orders.
#include "fuzz/input.h"

namespace {

using TYPE = MultiType::TYPE;
using Getter = bool (MultiType::*)(void*, unsigned int&, TYPE*, unsigned int*) const;
using Setter = bool (MultiType::*)(const void*, unsigned int, TYPE, unsigned int);

/// The host's order, and most significant byte first.
constexpr Getter GET[] = {&MultiType::Get, &MultiType::GetBigEndianFormatted};
constexpr Setter SET[] = {&MultiType::Set, &MultiType::SetBigEndianFormatted};

/// Asks without a buffer, with one that is a byte too small, and with one of the exact size.
Bytes FlatForm(const MultiType& value, Getter get) {
    unsigned int needed = 0;
    REQUIRE((value.*get)(nullptr, needed, nullptr, nullptr) == (needed == 0));
    unsigned int size = needed - 1;
    UnalignedBlock small(Bytes(std::max(needed, 1u) - 1)), exact(Bytes(needed, 0xA5));
    REQUIRE(needed == 0 || !(value.*get)(small.Data(), size, nullptr, nullptr));
    REQUIRE((value.*get)(exact.Data(), size = needed, nullptr, nullptr) && size == needed);
    return exact.Content();
}

void RequireRoundTrip(const MultiType& value, int order) {
    UnalignedBlock block(FlatForm(value, GET[order]));
    unsigned int id = 0;
    const TYPE type = value.Type(&id);
    const auto size = static_cast<unsigned int>(block.Content().size());
    MultiType again(u"before");
    REQUIRE((again.*SET[order])(block.Data(), size, type, id));
    REQUIRE(again.Type() == type && again == value);
    REQUIRE(FlatForm(again, GET[order]) == block.Content());
}

void RequireSymmetry(const MultiType& a, const MultiType& b) {
    REQUIRE((a == b) == (b == a));
    for (int tag = MultiType::TYPE_BOOL; tag <= MultiType::TYPE_MIXED_INT64; ++tag) {
        const auto type = static_cast<TYPE>(tag);
        REQUIRE(MultiType::compare(a, b, type) == -MultiType::compare(b, a, type));
    }
}

MultiType TakeValue(FuzzedDataProvider& input, const MultiType& before) {
    const TYPE type = TakeTag(input);
    const auto id = input.ConsumeIntegral<unsigned int>();
    const bool bigEndian = input.ConsumeBool(), null = input.ConsumeBool();
    Bytes bytes = input.ConsumeBytes<unsigned char>(input.ConsumeIntegralInRange(0u, 300u));
    auto size = static_cast<unsigned int>(bytes.size());
    if (type == MultiType::TYPE_STRING || type == MultiType::TYPE_WSTRING) {
        // The size bounds no text: only the terminator does.
        size = input.ConsumeIntegral<unsigned int>();
        bytes.resize(bytes.size() / 2 * 2);
        bytes.insert(bytes.end(), 2, 0);
    }
    UnalignedBlock block(bytes);
    MultiType value(before);
    const bool held = (value.*SET[bigEndian])(null ? nullptr : block.Data(), size, type, id);
    REQUIRE(held ? value.Type() == type : value.Type() == before.Type() && value == before);
    return value;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const MultiType first = TakeValue(input, MultiType("before"));
    const MultiType second = TakeValue(input, first);
    RequireRoundTrip(second, 0);
    RequireRoundTrip(second, 1);
    RequireSymmetry(first, second);
    return 0;
}
