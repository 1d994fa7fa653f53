#include <cstdint>
#include <cstring>

#include "utilities/values/layout_internal.h"
#include "utilities/values/multitype.h"

using layout::FlatSize;
using layout::Form;
using layout::LayoutOf;

namespace {

constexpr std::uint16_t Reversed(std::uint16_t unit) { return __builtin_bswap16(unit); }
constexpr std::uint32_t Reversed(std::uint32_t unit) { return __builtin_bswap32(unit); }
constexpr std::uint64_t Reversed(std::uint64_t unit) { return __builtin_bswap64(unit); }

/// Copies units that need not be aligned, each with its bytes reversed.
template <class Unit>
void CopyReversed(void* out, const void* in, std::size_t size) {
    for (std::size_t i = 0; i < size; i += sizeof(Unit)) {
        Unit unit;
        std::memcpy(&unit, static_cast<const char*>(in) + i, sizeof unit);
        unit = Reversed(unit);
        std::memcpy(static_cast<char*>(out) + i, &unit, sizeof unit);
    }
}

/// Copies `size` bytes, which are whole units of `unit` bytes; a unit of one keeps the host's
/// order.
void CopyUnits(void* out, const void* in, std::size_t size, unsigned int unit) {
    switch (unit) {
        case 2:
            return CopyReversed<std::uint16_t>(out, in, size);
        case 4:
            return CopyReversed<std::uint32_t>(out, in, size);
        case 8:
            return CopyReversed<std::uint64_t>(out, in, size);
        default:
            // A form of no bytes needs no memory on either side.
            if (out != nullptr && in != nullptr)
                std::memcpy(out, in, size);
    }
}

/// Whether a form of `needed` bytes can be written to `buffer`, whose `size` then is what it needs.
bool Fits(const void* buffer, unsigned int& size, unsigned int needed) {
    const bool fits = size >= needed && (buffer != nullptr || needed == 0);
    size = needed;
    return fits;
}

/// The units at `buffer`, aligned or not, up to their terminator.
WString ReadWide(const void* buffer, unsigned int unit) {
    const auto* bytes = static_cast<const unsigned char*>(buffer);
    std::size_t size = 0;
    while (bytes[size] != 0 || bytes[size + 1] != 0)
        size += sizeof(WideChar);
    WString text;
    text.resize(size / sizeof(WideChar));
    CopyUnits(text.data(), bytes, size, unit);
    return text;
}

}  // namespace

bool MultiType::Get(void* buffer, unsigned int& size, TYPE* type, unsigned int* id) const {
    return Write(buffer, size, type, id, 1);
}

bool MultiType::GetBigEndianFormatted(void* buffer, unsigned int& size, TYPE* type,
                                      unsigned int* id) const {
    return Write(buffer, size, type, id, LayoutOf(m_type).unit);
}

bool MultiType::Write(void* buffer, unsigned int& size, TYPE* type, unsigned int* id,
                      unsigned int unit) const {
    unsigned int needed = 0;
    const void* flat = GetBuffer(&needed, type, id);
    if (!Fits(buffer, size, needed))
        return false;
    CopyUnits(buffer, flat, needed, unit);
    return true;
}

template <class T>
bool MultiType::WriteAs(void* buffer, unsigned int& size) const {
    if (!Fits(buffer, size, sizeof(T)))
        return false;
    T value{};
    Get(value);
    std::memcpy(buffer, &value, sizeof value);
    return true;
}

template <class Text>
bool MultiType::WriteAsText(void* buffer, unsigned int& size) const {
    Text text;
    Get(text);
    if (!Fits(buffer, size, FlatSize(text)))
        return false;
    CopyUnits(buffer, text.c_str(), size, 1);
    return true;
}

bool MultiType::GetTyped(void* buffer, unsigned int& size, TYPE type, unsigned int* id) const {
    if (id != nullptr)
        *id = 0;
    switch (type) {
        case TYPE_RAW:
            if (m_type == TYPE_RAW)
                return Write(buffer, size, nullptr, id, 1);
            size = 0;
            return false;
        case TYPE_BOOL:
            return WriteAs<bool>(buffer, size);
        case TYPE_CHAR:
            return WriteAs<char>(buffer, size);
        case TYPE_SHORT:
            return WriteAs<short>(buffer, size);
        case TYPE_INT:
            return WriteAs<int>(buffer, size);
        case TYPE_INT64:
            return WriteAs<__int64>(buffer, size);
        case TYPE_UCHAR:
            return WriteAs<unsigned char>(buffer, size);
        case TYPE_USHORT:
            return WriteAs<unsigned short>(buffer, size);
        case TYPE_UINT:
            return WriteAs<unsigned int>(buffer, size);
        case TYPE_UINT64:
            return WriteAs<unsigned __int64>(buffer, size);
        case TYPE_FLOAT:
            return WriteAs<float>(buffer, size);
        case TYPE_DOUBLE:
            return WriteAs<double>(buffer, size);
        case TYPE_STRING:
            return WriteAsText<String>(buffer, size);
        case TYPE_WSTRING:
            return WriteAsText<WString>(buffer, size);
        default:
            size = 0;
            return true;
    }
}

unsigned int MultiType::GetTypedValueSize(TYPE type) const {
    unsigned int size = 0;
    GetTyped(nullptr, size, type, nullptr);
    return size;
}

const void* MultiType::GetBuffer(unsigned int* size, TYPE* type, unsigned int* id) const {
    const void* flat = nullptr;
    switch (LayoutOf(m_type).form) {
        case Form::None:
            break;
        case Form::Block:
            flat = m_v.r->Data();
            break;
        case Form::Inline:
            flat = &m_v;
            break;
        case Form::Narrow:
            flat = m_v.str->c_str();
            break;
        case Form::Wide:
            flat = m_v.wstr->c_str();
            break;
    }
    if (size != nullptr)
        *size = GetValueSize();
    const TYPE held = Type(id);
    if (type != nullptr)
        *type = held;
    return flat;
}

bool MultiType::Set(const void* buffer, unsigned int size, TYPE type, unsigned int id) {
    return Take(buffer, size, type, id, 1);
}

bool MultiType::SetBigEndianFormatted(const void* buffer, unsigned int size, TYPE type,
                                      unsigned int id) {
    return Take(buffer, size, type, id, LayoutOf(type).unit);
}

bool MultiType::Take(const void* buffer, unsigned int size, TYPE type, unsigned int id,
                     unsigned int unit) {
    const layout::Layout& wanted = LayoutOf(type);
    const bool sized = wanted.form != Form::Block && wanted.form != Form::None;
    if (!layout::IsHeldTag(type) || (sized && size < wanted.unit))
        return false;
    switch (wanted.form) {
        case Form::None:
            Invalidate();
            break;
        case Form::Block:
            StoreRaw(size, buffer, id);
            break;
        case Form::Inline: {
            // Read before the release: the buffer may lie in what is held.
            Datum datum{};
            if (buffer != nullptr)
                CopyUnits(&datum, buffer, wanted.unit, unit);
            Renew(type) = datum;
            break;
        }
        case Form::Narrow:
            assign(buffer != nullptr ? static_cast<const char*>(buffer) : "");
            break;
        case Form::Wide:
            assign(buffer != nullptr ? ReadWide(buffer, unit) : WString());
            break;
    }
    return true;
}
