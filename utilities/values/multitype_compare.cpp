#include "utilities/values/multitype.h"

#include <cstring>
#include <iterator>

#include "utilities/frame/assert_internal.h"
#include "utilities/values/kinds_internal.h"

using kinds::Form;
using kinds::HeldBy;
using kinds::TagOf;

namespace {

constexpr char ASSERT_MODULE[] = ".\\multitype";

/// The type as which values of two tags are compared, by number; row and column are the tags. The
/// rules behind it:
/// - Integers are compared in the narrowest type that holds both ranges, a signed one unless both
///   are unsigned. For a signed integer with an unsigned one of 64 bits there is none: 15.
/// - A `float` stays one with integers of up to 32 bits; all other numbers meet in `double`.
/// - A boolean takes the other's type, and a text is always read as a `double`.
constexpr unsigned char COMMON_TYPES[][kinds::TAG_END] = {
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

/// Whether the table is symmetric, leads from each two numbers or texts to a number or to
/// `TYPE_MIXED_INT64`, from two blocks to a block, and from all others to `TYPE_INVALID`.
constexpr bool IsCommonTypesComplete() {
    const auto formOf = [](unsigned int tag) {
        return kinds::FormOf(static_cast<MultiType::TYPE>(tag));
    };
    for (unsigned int a = 0; a < kinds::TAG_END; ++a) {
        for (unsigned int b = 0; b < kinds::TAG_END; ++b) {
            const unsigned int common = COMMON_TYPES[a][b];
            const bool isMeeting = formOf(a) >= Form::NUMBER && formOf(b) >= Form::NUMBER;
            const bool isNumber =
                formOf(common) == Form::NUMBER || common == MultiType::TYPE_MIXED_INT64;
            const unsigned int otherwise = a == b && formOf(a) == Form::BLOCK ? a : 0;
            if (common != COMMON_TYPES[b][a] || (isMeeting ? !isNumber : common != otherwise))
                return false;
        }
    }
    return true;
}
static_assert(std::size(COMMON_TYPES) == kinds::TAG_END, "one row and one column for each tag");
static_assert(IsCommonTypesComplete());

/// Returns -1, 0 or 1. A NaN is neither above nor below anything, so it compares as 0.
template <class T>
int CompareValues(const T& x, const T& y) {
    return static_cast<int>(x > y) - static_cast<int>(x < y);
}

/// Compares the bytes that were read, as that of a boolean may be above 1.
int CompareBytesAsBool(const MultiType& a, const MultiType& b) {
    bool read[2] = {};
    a.Get(read[0]);
    b.Get(read[1]);
    unsigned char bytes[2];
    std::memcpy(bytes, read, sizeof bytes);
    return CompareValues(bytes[0], bytes[1]);
}

/// A negative number is below every unsigned one; all others can be compared as unsigned.
int CompareMixedInt64(const MultiType& a, const MultiType& b) {
    const bool aIsSigned = kinds::IsSigned(TagOf(a)), bIsSigned = kinds::IsSigned(TagOf(b));
    if (aIsSigned && bIsSigned)
        return CompareValues(a.GetAs<__int64>(), b.GetAs<__int64>());
    if (aIsSigned && a.GetAs<__int64>() < 0)
        return -1;
    if (bIsSigned && b.GetAs<__int64>() < 0)
        return 1;
    return CompareValues(a.GetAs<unsigned __int64>(), b.GetAs<unsigned __int64>());
}

/// Compares two values that are read as the kind of the tag `type`, one function for each sort of
/// kind. Two numbers or texts that are held as that kind are compared where they lie.
int CompareAs(kinds::Boolean, const MultiType& a, const MultiType& b, MultiType::TYPE) {
    return CompareBytesAsBool(a, b);
}

template <class T, auto HELD>
int CompareAs(kinds::Number<T, HELD>, const MultiType& a, const MultiType& b,
              MultiType::TYPE type) {
    if (TagOf(a) == type && TagOf(b) == type)
        return CompareValues(HeldBy(a).*HELD, HeldBy(b).*HELD);
    using Held = typename kinds::Number<T, HELD>::Held;
    return CompareValues(static_cast<Held>(a.GetAs<T>()), static_cast<Held>(b.GetAs<T>()));
}

template <class T, auto HELD>
int CompareAs(kinds::Text<T, HELD>, const MultiType& a, const MultiType& b, MultiType::TYPE type) {
    const auto order = [](const T& x, const T& y) { return CompareValues(x.compare(y), 0); };
    if (TagOf(a) == type && TagOf(b) == type)
        return order(*(HeldBy(a).*HELD), *(HeldBy(b).*HELD));
    return order(a.GetAs<T>(), b.GetAs<T>());
}

/// Reports a `type` that isn't a way to compare; there is one that isn't the tag of a kind.
int CompareAs(kinds::Properties, const MultiType& a, const MultiType& b, MultiType::TYPE type) {
    if (type == MultiType::TYPE_MIXED_INT64)
        return CompareMixedInt64(a, b);
    ASSERT(false);
    return 0;
}

MultiType::TYPE CommonType(const MultiType& v1, const MultiType& v2) {
    const MultiType::TYPE a = TagOf(v1), b = TagOf(v2);
    if (kinds::IsHeldTag(a) && kinds::IsHeldTag(b))
        return static_cast<MultiType::TYPE>(COMMON_TYPES[a][b]);
    ASSERT(v1.Type() < 15);
    ASSERT(v2.Type() < 15);
    return MultiType::TYPE_INVALID;
}

}  // namespace

int MultiType::compare(const MultiType& a, const MultiType& b, TYPE type) {
    return kinds::Visit(type, [&](auto kind) { return CompareAs(kind, a, b, type); });
}

bool MultiType::operator==(const MultiType& other) const {
    if (!kinds::IsHeldTag(m_type)) {
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
    const TYPE common = CommonType(*this, other);
    return common != TYPE_INVALID && compare(*this, other, common) == 0;
}
