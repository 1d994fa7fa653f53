#include "utilities/values/multitype.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

#include "utilities/values/kinds_internal.h"

using kinds::Datum;
using kinds::Form;

namespace {

enum class Order { HOST, BIG_END_FIRST };

constexpr std::uint16_t Reversed(std::uint16_t unit) { return __builtin_bswap16(unit); }
constexpr std::uint32_t Reversed(std::uint32_t unit) { return __builtin_bswap32(unit); }
constexpr std::uint64_t Reversed(std::uint64_t unit) { return __builtin_bswap64(unit); }

/// Copies units, aligned or not, and reverses the bytes of each.
template <class Unit>
void CopyReversed(void* out, const void* in, std::size_t size) {
    for (std::size_t i = 0; i < size; i += sizeof(Unit)) {
        Unit unit;
        std::memcpy(&unit, static_cast<const char*>(in) + i, sizeof unit);
        unit = Reversed(unit);
        std::memcpy(static_cast<char*>(out) + i, &unit, sizeof unit);
    }
}

/// Copies `size` bytes of a form between the host's byte order and `ORDER`. The pointers may be
/// null if `size` is 0.
template <Order ORDER, class Kind>
void CopyForm(Kind, void* out, const void* in, std::size_t size) {
    constexpr unsigned int UNIT = ORDER == Order::HOST ? 1 : Kind::ORDER_UNIT;
    if constexpr (UNIT == 8)
        CopyReversed<std::uint64_t>(out, in, size);
    else if constexpr (UNIT == 4)
        CopyReversed<std::uint32_t>(out, in, size);
    else if constexpr (UNIT == 2)
        CopyReversed<std::uint16_t>(out, in, size);
    else if (size != 0)
        std::memcpy(out, in, size);
}

/// The largest size that a caller can be told. A longer form can't be exchanged.
constexpr std::size_t MOST_BYTES = std::numeric_limits<unsigned int>::max();

unsigned int ToldSize(std::size_t size) {
    return static_cast<unsigned int>(std::min(size, MOST_BYTES));
}

/// Returns whether `buffer` has space for a form of `needed` bytes, and sets `size` to that number.
bool Fits(const void* buffer, unsigned int& size, std::size_t needed) {
    const bool fits = size >= needed && (buffer != nullptr || needed == 0);
    size = ToldSize(needed);
    return fits;
}

/// Where the flat form of a value lies in the host's byte order, and its size.
struct FlatForm {
    const void* bytes;
    std::size_t size;
};

FlatForm FlatFormOf(kinds::Properties, const Datum&) { return {nullptr, 0}; }

FlatForm FlatFormOf(kinds::Block, const Datum& held) { return {held.r->Data(), held.r->size}; }

template <class T, auto HELD>
FlatForm FlatFormOf(kinds::Number<T, HELD>, const Datum& held) {
    return {&held, sizeof(T)};
}

/// The characters of a text with their terminator.
template <class T>
FlatForm FlatFormOf(const T& text) {
    return {text.c_str(), (text.size() + 1) * sizeof(typename T::value_type)};
}

template <class T, auto HELD>
FlatForm FlatFormOf(kinds::Text<T, HELD>, const Datum& held) {
    return FlatFormOf(*(held.*HELD));
}

template <Order ORDER>
bool Write(MultiType::TYPE type, const Datum& held, void* buffer, unsigned int& size) {
    return kinds::Visit(type, [&](auto kind) {
        const FlatForm form = FlatFormOf(kind, held);
        if (!Fits(buffer, size, form.size))
            return false;
        CopyForm<ORDER>(kind, buffer, form.bytes, form.size);
        return true;
    });
}

/// Reads `value` as the type of a kind and writes the flat form of the result.
template <class T, auto HELD>
bool WriteAs(kinds::Number<T, HELD>, const MultiType& value, void* buffer, unsigned int& size) {
    if (!Fits(buffer, size, sizeof(T)))
        return false;
    T number{};
    value.Get(number);
    std::memcpy(buffer, &number, sizeof number);
    return true;
}

template <class T, auto HELD>
bool WriteAs(kinds::Text<T, HELD>, const MultiType& value, void* buffer, unsigned int& size) {
    const T text = value.GetAs<T>();
    const FlatForm form = FlatFormOf(text);
    if (!Fits(buffer, size, form.size))
        return false;
    std::memcpy(buffer, form.bytes, form.size);
    return true;
}

/// For a value that doesn't hold a block; the block of one that does is written as it lies.
bool WriteAs(kinds::Block, const MultiType&, void*, unsigned int& size) {
    size = 0;
    return false;
}

bool WriteAs(kinds::Properties, const MultiType&, void*, unsigned int& size) {
    size = 0;
    return true;
}

/// The datum of a number's bytes, or of zeros where `buffer` is null.
template <Order ORDER, class Kind>
Datum NumberAt(Kind kind, const void* buffer) {
    Datum datum{};
    if (buffer != nullptr)
        CopyForm<ORDER>(kind, &datum, buffer, Kind::INLINE_WIDTH);
    return datum;
}

/// The wide text at `buffer`, aligned or not. Its terminator is zero in both byte orders.
template <Order ORDER, class Kind>
WString ReadWide(Kind kind, const void* buffer) {
    const auto* bytes = static_cast<const unsigned char*>(buffer);
    std::size_t size = 0;
    while (bytes[size] != 0 || bytes[size + 1] != 0)
        size += sizeof(WideChar);
    WString text;
    text.resize(size / sizeof(WideChar));
    CopyForm<ORDER>(kind, text.data(), bytes, size);
    return text;
}

}  // namespace

unsigned int MultiType::GetValueSize() const {
    return kinds::Visit(m_type, [&](auto kind) { return ToldSize(FlatFormOf(kind, m_v).size); });
}

bool MultiType::Get(void* buffer, unsigned int& size, TYPE* type, unsigned int* id) const {
    const TYPE held = Type(id);
    if (type != nullptr)
        *type = held;
    return Write<Order::HOST>(held, m_v, buffer, size);
}

bool MultiType::GetBigEndianFormatted(void* buffer, unsigned int& size, TYPE* type,
                                      unsigned int* id) const {
    const TYPE held = Type(id);
    if (type != nullptr)
        *type = held;
    return Write<Order::BIG_END_FIRST>(held, m_v, buffer, size);
}

bool MultiType::GetTyped(void* buffer, unsigned int& size, TYPE type, unsigned int* id) const {
    if (id != nullptr)
        *id = 0;
    if (type == TYPE_RAW && m_type == TYPE_RAW)
        return Get(buffer, size, nullptr, id);
    return kinds::Visit(type, [&](auto kind) { return WriteAs(kind, *this, buffer, size); });
}

unsigned int MultiType::GetTypedValueSize(TYPE type) const {
    unsigned int size = 0;
    GetTyped(nullptr, size, type, nullptr);
    return size;
}

const void* MultiType::GetBuffer(unsigned int* size, TYPE* type, unsigned int* id) const {
    FlatForm form = kinds::Visit(m_type, [&](auto kind) { return FlatFormOf(kind, m_v); });
    if (form.size > MOST_BYTES)
        form = {nullptr, 0};
    if (size != nullptr)
        *size = ToldSize(form.size);
    const TYPE held = Type(id);
    if (type != nullptr)
        *type = held;
    return form.bytes;
}

bool MultiType::Set(const void* buffer, unsigned int size, TYPE type, unsigned int id) {
    return kinds::Visit(type, [&]<class Kind>(Kind kind) {
        if (Kind::FORM == Form::NO_KIND || size < Kind::LEAST_SIZE)
            return false;
        if constexpr (Kind::FORM == Form::NOTHING)
            Invalidate();
        else if constexpr (Kind::FORM == Form::BLOCK)
            StoreRaw(size, buffer, id);
        else if constexpr (Kind::FORM == Form::NUMBER)
            Renew(type) = NumberAt<Order::HOST>(kind, buffer);
        else if constexpr (Kind::ORDER_UNIT == 1)
            assign(buffer != nullptr ? static_cast<const char*>(buffer) : "");
        else
            HoldWide(buffer != nullptr ? ReadWide<Order::HOST>(kind, buffer) : WString());
        return true;
    });
}

bool MultiType::SetBigEndianFormatted(const void* buffer, unsigned int size, TYPE type,
                                      unsigned int id) {
    return kinds::Visit(type, [&]<class Kind>(Kind kind) {
        // The byte order makes no difference to single bytes, nor to a null or refused buffer.
        if (Kind::ORDER_UNIT == 1 || buffer == nullptr || size < Kind::LEAST_SIZE)
            return Set(buffer, size, type, id);
        if constexpr (Kind::FORM == Form::NUMBER)
            Renew(type) = NumberAt<Order::BIG_END_FIRST>(kind, buffer);
        else if constexpr (Kind::FORM == Form::TEXT)
            HoldWide(ReadWide<Order::BIG_END_FIRST>(kind, buffer));
        return true;
    });
}
