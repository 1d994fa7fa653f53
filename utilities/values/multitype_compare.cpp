#include <cstring>

#include "utilities/frame/assert_internal.h"
#include "utilities/values/layout_internal.h"
#include "utilities/values/multitype.h"

namespace {

constexpr char ASSERT_MODULE[] = ".\\multitype";

/// The type in which the values of two tags meet, by their numbers. It is symmetric.
constexpr unsigned char COMMON_TYPES[15][15] = {
    {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
    {0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
    {0, 0, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 12, 12},
    {0, 0, 3, 3, 4, 5, 6, 4, 5, 6, 15, 11, 12, 12, 12},
    {0, 0, 4, 4, 4, 5, 6, 4, 5, 6, 15, 11, 12, 12, 12},
    {0, 0, 5, 5, 5, 5, 6, 5, 5, 6, 15, 11, 12, 12, 12},
    {0, 0, 6, 6, 6, 6, 6, 6, 6, 6, 15, 12, 12, 12, 12},
    {0, 0, 7, 4, 4, 5, 6, 7, 8, 9, 10, 11, 12, 12, 12},
    {0, 0, 8, 5, 5, 5, 6, 8, 8, 9, 10, 11, 12, 12, 12},
    {0, 0, 9, 6, 6, 6, 6, 9, 9, 9, 10, 11, 12, 12, 12},
    {0, 0, 10, 15, 15, 15, 15, 10, 10, 10, 10, 12, 12, 12, 12},
    {0, 0, 11, 11, 11, 11, 12, 11, 11, 11, 12, 11, 12, 12, 12},
    {0, 0, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12},
    {0, 0, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12},
    {0, 0, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12, 12},
};

/// Of two floating values of which one is a NaN neither is above the other.
template <class T>
int CompareValues(const T& x, const T& y) {
    return static_cast<int>(x > y) - static_cast<int>(x < y);
}

/// The bytes that the readings gave: a boolean's may be above 1.
int CompareBytesAsBool(const MultiType& a, const MultiType& b) {
    bool read[2] = {};
    a.Get(read[0]);
    b.Get(read[1]);
    unsigned char bytes[2];
    std::memcpy(bytes, read, sizeof bytes);
    return CompareValues(bytes[0], bytes[1]);
}

/// A negative operand is below every unsigned one; what is left compares as unsigned.
int CompareMixedInt64(const MultiType& a, const MultiType& b) {
    const bool aIsSigned = a.IsSigned(), bIsSigned = b.IsSigned();
    if (aIsSigned && bIsSigned)
        return CompareValues(a.GetAs<__int64>(), b.GetAs<__int64>());
    if (aIsSigned && a.GetAs<__int64>() < 0)
        return -1;
    if (bIsSigned && b.GetAs<__int64>() < 0)
        return 1;
    return CompareValues(a.GetAs<unsigned __int64>(), b.GetAs<unsigned __int64>());
}

}  // namespace

template <class T, class Held>
int MultiType::CompareNumbers(const MultiType& a, const MultiType& b, TYPE type,
                              Held Datum::*held) {
    if (a.m_type == type && b.m_type == type)
        return CompareValues(a.m_v.*held, b.m_v.*held);
    return CompareValues(static_cast<Held>(a.GetAs<T>()), static_cast<Held>(b.GetAs<T>()));
}

// Texts that are held as such are compared where they are.
template <class Text>
int MultiType::CompareTexts(const MultiType& a, const MultiType& b, TYPE type, Text* Datum::*held) {
    const auto textOf = [&](const MultiType& value, Text& room) -> const Text& {
        if (value.m_type == type)
            return *(value.m_v.*held);
        value.Get(room);
        return room;
    };
    Text x, y;
    return CompareValues(textOf(a, x).compare(textOf(b, y)), 0);
}

int MultiType::compare(const MultiType& a, const MultiType& b, TYPE type) {
    switch (type) {
        case TYPE_BOOL:
            return CompareBytesAsBool(a, b);
        case TYPE_CHAR:
            return CompareNumbers<char>(a, b, type, &Datum::c);
        case TYPE_SHORT:
            return CompareNumbers<short>(a, b, type, &Datum::sh);
        case TYPE_INT:
            return CompareNumbers<int>(a, b, type, &Datum::i);
        case TYPE_INT64:
            return CompareNumbers<__int64>(a, b, type, &Datum::ll);
        case TYPE_UCHAR:
            return CompareNumbers<unsigned char>(a, b, type, &Datum::uc);
        case TYPE_USHORT:
            return CompareNumbers<unsigned short>(a, b, type, &Datum::ush);
        case TYPE_UINT:
            return CompareNumbers<unsigned int>(a, b, type, &Datum::ui);
        case TYPE_UINT64:
            return CompareNumbers<unsigned __int64>(a, b, type, &Datum::ull);
        case TYPE_FLOAT:
            return CompareNumbers<float>(a, b, type, &Datum::f);
        case TYPE_DOUBLE:
            return CompareNumbers<double>(a, b, type, &Datum::d);
        case TYPE_STRING:
            return CompareTexts(a, b, type, &Datum::str);
        case TYPE_WSTRING:
            return CompareTexts(a, b, type, &Datum::wstr);
        case TYPE_MIXED_INT64:
            return CompareMixedInt64(a, b);
        default:
            ASSERT(false);
            return 0;
    }
}

MultiType::TYPE MultiType::CommonType(const MultiType& v1, const MultiType& v2) {
    if (layout::IsHeldTag(v1.m_type) && layout::IsHeldTag(v2.m_type))
        return static_cast<TYPE>(COMMON_TYPES[v1.m_type][v2.m_type]);
    ASSERT(v1.Type() < 15);
    ASSERT(v2.Type() < 15);
    return TYPE_INVALID;
}

bool MultiType::operator==(const MultiType& other) const {
    if (!layout::IsHeldTag(m_type)) {
        ASSERT(false);
        return false;
    }
    if (m_type == TYPE_INVALID)
        return other.m_type == TYPE_INVALID;
    if (m_type == TYPE_RAW)
        return other.m_type == TYPE_RAW && m_v.r->size == other.m_v.r->size &&
               m_v.r->id == other.m_v.r->id &&
               std::memcmp(m_v.r->Data(), other.m_v.r->Data(), m_v.r->size) == 0;
    if (other.m_type == TYPE_INVALID || other.m_type == TYPE_RAW)
        return false;
    return compare(*this, other, CommonType(*this, other)) == 0;
}
