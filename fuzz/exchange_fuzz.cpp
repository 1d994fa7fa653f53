// Foreign bytes become a value, and the value becomes bytes again, in both byte orders.
#include <algorithm>

#include "fuzz/input.h"

namespace {

using TYPE = MultiType::TYPE;
using Getter = bool (MultiType::*)(void*, unsigned int&, TYPE*, unsigned int*) const;
using Setter = bool (MultiType::*)(const void*, unsigned int, TYPE, unsigned int);

/// The host's order, and most significant byte first.
constexpr Getter GET[] = {&MultiType::Get, &MultiType::GetBigEndianFormatted};
constexpr Setter SET[] = {&MultiType::Set, &MultiType::SetBigEndianFormatted};

unsigned int UnitOf(TYPE type) {
    return type == MultiType::TYPE_WSTRING ? 2 : std::max(MultiType::GetTypeSize(type), 1u);
}

/// Calls an operation that writes a form: with no room, a byte too little, exactly enough.
template <class Write>
Bytes Written(Write write) {
    unsigned int needed = 0;
    REQUIRE(write(nullptr, needed) == (needed == 0));
    UnalignedBlock small(Bytes(std::max(needed, 1u) - 1, 0xA5)), exact(Bytes(needed, 0xA5));
    unsigned int size = needed - 1;
    if (needed != 0)
        REQUIRE(!write(small.Data(), size) && size == needed);
    REQUIRE(small.Content() == Bytes(small.Content().size(), 0xA5));
    REQUIRE(write(exact.Data(), size = needed) && size == needed);
    return exact.Content();
}

Bytes FlatForm(const MultiType& value, bool bigEndian) {
    unsigned int id = 1, heldId = 0;
    TYPE type{};
    const Bytes form = Written([&](void* buffer, unsigned int& size) {
        return (value.*GET[bigEndian])(buffer, size, &type, &id);
    });
    REQUIRE(type == value.Type(&heldId) && id == heldId);
    return form;
}

void RequireRoundTrips(const MultiType& value) {
    const Bytes host = FlatForm(value, false);
    Bytes reversed = host;
    const unsigned int unit = UnitOf(value.Type());
    for (auto at = reversed.begin(); at != reversed.end(); at += unit)
        std::reverse(at, at + unit);
    for (const bool bigEndian : {false, true}) {
        const Bytes form = FlatForm(value, bigEndian);
        REQUIRE(form == (bigEndian ? reversed : host));
        UnalignedBlock block(form);
        unsigned int id = 0, size = 0;
        const TYPE type = value.Type(&id);
        const void* flat = value.GetBuffer(&size, nullptr, nullptr);
        REQUIRE(size == host.size());
        REQUIRE(size == 0 || std::memcmp(flat, host.data(), size) == 0);
        MultiType again(u"before");
        REQUIRE((again.*SET[bigEndian])(block.Data(), size, type, id));
        REQUIRE(FlatForm(again, bigEndian) == form && again.Type() == type && again == value);
    }
}

void RequireTypedForms(const MultiType& value) {
    for (int tag = -1; tag <= MultiType::TYPE_MIXED_INT64; ++tag) {
        const auto type = static_cast<TYPE>(tag);
        unsigned int id = 1, none = 0;
        if (type == MultiType::TYPE_RAW && value.Type() != type) {
            REQUIRE(!value.GetTyped(nullptr, none, type, &id) && id == 0 && none == 0);
            continue;
        }
        const Bytes form = Written([&](void* buffer, unsigned int& size) {
            return value.GetTyped(buffer, size, type, &id);
        });
        REQUIRE(form.size() == value.GetTypedValueSize(type));
        REQUIRE(type != value.Type() || form == FlatForm(value, false));
    }
}

void RequireSymmetry(const MultiType& a, const MultiType& b) {
    REQUIRE((a == b) == (b == a));
    for (int tag = MultiType::TYPE_BOOL; tag <= MultiType::TYPE_MIXED_INT64; ++tag) {
        const auto type = static_cast<TYPE>(tag);
        REQUIRE(MultiType::compare(a, b, type) == -MultiType::compare(b, a, type));
        REQUIRE(MultiType::compare(a, a, type) == 0);
    }
}

/// The bytes that are held of those handed over.
std::size_t HeldSize(TYPE type, const Bytes& bytes) {
    if (type == MultiType::TYPE_STRING)
        return Terminated(ToText<char>(bytes)).size() + 1;
    if (type == MultiType::TYPE_WSTRING)
        return 2 * Terminated(ToText<WideChar>(bytes)).size() + 2;
    return type == MultiType::TYPE_RAW ? bytes.size() : MultiType::GetTypeSize(type);
}

MultiType TakeValue(FuzzedDataProvider& input, const MultiType& before) {
    const TYPE type = TakeTag(input);
    const auto id = input.ConsumeIntegral<unsigned int>();
    const bool bigEndian = input.ConsumeBool(), null = input.ConsumeBool();
    const bool isText = type == MultiType::TYPE_STRING || type == MultiType::TYPE_WSTRING;
    const unsigned int unit = UnitOf(type);
    Bytes bytes = input.ConsumeBytes<unsigned char>(input.ConsumeIntegralInRange(0u, 300u));
    auto size = static_cast<unsigned int>(bytes.size());
    if (isText) {
        // The size bounds no text: only the terminator does.
        size = input.ConsumeIntegral<unsigned int>();
        bytes.resize((bytes.size() / unit + 1) * unit);
        std::fill(bytes.end() - unit, bytes.end(), 0);
    }
    UnalignedBlock block(bytes);
    MultiType value(before);
    const bool held = (value.*SET[bigEndian])(null ? nullptr : block.Data(), size, type, id);
    const bool sized = isText || MultiType::GetTypeSize(type) != 0;
    REQUIRE(held == (type >= 0 && type <= MultiType::TYPE_WSTRING && (!sized || size >= unit)));
    if (held) {
        if (null)
            std::fill(bytes.begin(), bytes.end(), 0);
        bytes.resize(HeldSize(type, bytes));
        REQUIRE(FlatForm(value, bigEndian) == bytes);
    }
    unsigned int heldId = 0;
    REQUIRE(value.Type(&heldId) == (held ? type : before.Type()));
    REQUIRE(held ? heldId == (type == MultiType::TYPE_RAW ? id : 0) : value == before);
    return value;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const MultiType first = TakeValue(input, MultiType("before"));
    const MultiType second = TakeValue(input, first);
    RequireRoundTrips(second);
    RequireTypedForms(second);
    RequireSymmetry(first, second);
    return 0;
}
