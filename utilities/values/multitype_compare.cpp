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

template <class T>
int CompareAs(const MultiType& a, const MultiType& b) {
    T x{}, y{};
    a.Get(x);
    b.Get(y);
    return CompareValues(x, y);
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

int CompareAsSignedChar(const MultiType& a, const MultiType& b) {
    char x = 0, y = 0;
    a.Get(x);
    b.Get(y);
    return CompareValues(static_cast<signed char>(x), static_cast<signed char>(y));
}

/// A negative operand is below every unsigned one; what is left compares as unsigned.
int CompareMixedInt64(const MultiType& a, const MultiType& b) {
    const bool aIsSigned = a.IsSigned(), bIsSigned = b.IsSigned();
    if (aIsSigned && bIsSigned)
        return CompareAs<__int64>(a, b);
    if (aIsSigned && a.GetAs<__int64>() < 0)
        return -1;
    if (bIsSigned && b.GetAs<__int64>() < 0)
        return 1;
    return CompareAs<unsigned __int64>(a, b);
}

}  // namespace

int MultiType::compare(const MultiType& a, const MultiType& b, TYPE type) {
    switch (type) {
        case TYPE_BOOL:
            return CompareBytesAsBool(a, b);
        case TYPE_CHAR:
            return CompareAsSignedChar(a, b);
        case TYPE_SHORT:
            return CompareAs<short>(a, b);
        case TYPE_INT:
            return CompareAs<int>(a, b);
        case TYPE_INT64:
            return CompareAs<__int64>(a, b);
        case TYPE_UCHAR:
            return CompareAs<unsigned char>(a, b);
        case TYPE_USHORT:
            return CompareAs<unsigned short>(a, b);
        case TYPE_UINT:
            return CompareAs<unsigned int>(a, b);
        case TYPE_UINT64:
            return CompareAs<unsigned __int64>(a, b);
        case TYPE_FLOAT:
            return CompareAs<float>(a, b);
        case TYPE_DOUBLE:
            return CompareAs<double>(a, b);
        case TYPE_STRING:
            return CompareAs<String>(a, b);
        case TYPE_WSTRING:
            return CompareAs<WString>(a, b);
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
