/// The one mapping from the tag of a value to the C++ type of what the value holds.
///
/// `Visit` takes a tag to its kind, an empty type that describes it. An operation that depends on
/// the tag is written as a function for each sort of kind (overloads, or branches on `FORM`) and
/// calls `Visit`.
///
/// To add a kind of value, give it an enumerator of `MultiType::TYPE`, above all numbers in use,
/// and a case in `Visit`. The rest is then checked: an enumerator without a case doesn't compile,
/// nor does an operation without a function for a new sort of kind, nor a table of common types
/// without the new row and column. The test of the GDB printers compares their list with the
/// enumeration.
#ifndef UTILITIES_VALUES_KINDS_INTERNAL_H
#define UTILITIES_VALUES_KINDS_INTERNAL_H

#include <type_traits>
#include <utility>

#include "utilities/values/multitype.h"

namespace kinds {

/// Gives this library's sources access to what `MultiType` keeps for derived classes. It is never
/// instantiated.
struct Opened : MultiType {
    using MultiType::Datum;
    using MultiType::RawBlock;
    static TYPE TagOf(const MultiType& value) { return value.*&Opened::m_type; }
    static const Datum& HeldBy(const MultiType& value) { return value.*&Opened::m_v; }
};
using Datum = Opened::Datum;
using RawBlock = Opened::RawBlock;
inline MultiType::TYPE TagOf(const MultiType& value) { return Opened::TagOf(value); }
inline const Datum& HeldBy(const MultiType& value) { return Opened::HeldBy(value); }

enum class Form : unsigned char { NO_KIND, NOTHING, BLOCK, NUMBER, TEXT };

/// What every kind describes, with the defaults of a kind that holds nothing.
struct Properties {
    /// The number of bytes that are reversed together between the two byte orders.
    static constexpr unsigned int ORDER_UNIT = 1;
    /// The size of what lies in the value itself, 0 if it lies on the heap.
    static constexpr unsigned int INLINE_WIDTH = 0;
    /// The least size of a buffer from which a value of the kind is taken.
    static constexpr unsigned int LEAST_SIZE = 0;
    static constexpr bool IS_SIGNED = true;
};

/// For a number that isn't the tag of any value.
struct NoKind : Properties {
    static constexpr Form FORM = Form::NO_KIND;
};

struct Nothing : Properties {
    static constexpr Form FORM = Form::NOTHING;
};

struct Block : Properties {
    static constexpr Form FORM = Form::BLOCK;
};

/// A number of type `T`, which lies in the member `HELD` of the datum.
template <class T, auto HELD>
struct Number : Properties {
    using Type = T;
    using Held = std::remove_cvref_t<decltype(std::declval<Datum>().*HELD)>;
    static_assert(sizeof(Held) == sizeof(T));

    static constexpr Form FORM = Form::NUMBER;
    static constexpr unsigned int ORDER_UNIT = sizeof(T);
    static constexpr unsigned int INLINE_WIDTH = sizeof(T);
    static constexpr unsigned int LEAST_SIZE = sizeof(T);
    static constexpr bool IS_SIGNED = !std::is_unsigned_v<Held>;
};

/// Its byte can have any value, so it must not be read as a `bool`.
struct Boolean : Number<bool, &Datum::b> {};

/// A text of type `T` on the heap; the member `HELD` of the datum points to it.
template <class T, auto HELD>
struct Text : Properties {
    using Type = T;

    static constexpr Form FORM = Form::TEXT;
    static constexpr auto DATUM = HELD;
    static constexpr unsigned int ORDER_UNIT = sizeof(typename T::value_type);
    static constexpr unsigned int LEAST_SIZE = sizeof(typename T::value_type);
};

#pragma GCC diagnostic push
#pragma GCC diagnostic error "-Wswitch"
/// Calls `visit` with the kind of the tag `type`, or with `NoKind`, and returns its result.
template <class Visitor>
constexpr auto Visit(MultiType::TYPE type, Visitor&& visit) {
    switch (type) {
        case MultiType::TYPE_INVALID:
            return visit(Nothing());
        case MultiType::TYPE_RAW:
            return visit(Block());
        case MultiType::TYPE_BOOL:
            return visit(Boolean());
        case MultiType::TYPE_CHAR:
            return visit(Number<char, &Datum::c>());
        case MultiType::TYPE_SHORT:
            return visit(Number<short, &Datum::sh>());
        case MultiType::TYPE_INT:
            return visit(Number<int, &Datum::i>());
        case MultiType::TYPE_INT64:
            return visit(Number<__int64, &Datum::ll>());
        case MultiType::TYPE_UCHAR:
            return visit(Number<unsigned char, &Datum::uc>());
        case MultiType::TYPE_USHORT:
            return visit(Number<unsigned short, &Datum::ush>());
        case MultiType::TYPE_UINT:
            return visit(Number<unsigned int, &Datum::ui>());
        case MultiType::TYPE_UINT64:
            return visit(Number<unsigned __int64, &Datum::ull>());
        case MultiType::TYPE_FLOAT:
            return visit(Number<float, &Datum::f>());
        case MultiType::TYPE_DOUBLE:
            return visit(Number<double, &Datum::d>());
        case MultiType::TYPE_STRING:
            return visit(Text<String, &Datum::str>());
        case MultiType::TYPE_WSTRING:
            return visit(Text<WString, &Datum::wstr>());
        case MultiType::TYPE_MIXED_INT64:
            break;
    }
    return visit(NoKind());
}
#pragma GCC diagnostic pop

constexpr Form FormOf(MultiType::TYPE type) {
    return Visit(type, [](auto kind) { return kind.FORM; });
}

constexpr bool IsSigned(MultiType::TYPE type) {
    return Visit(type, [](auto kind) { return kind.IS_SIGNED; });
}

/// The length of a table that is indexed by tag: one more than the highest tag of a kind.
inline constexpr unsigned int TAG_END = [] {
    unsigned int end = 0;
    for (unsigned int tag = 0; tag < 32; ++tag) {
        if (FormOf(static_cast<MultiType::TYPE>(tag)) != Form::NO_KIND)
            end = tag + 1;
    }
    return end;
}();

/// Whether a value can have this tag.
constexpr bool IsHeldTag(MultiType::TYPE type) {
    return static_cast<unsigned int>(type) < TAG_END && type != MultiType::TYPE_MIXED_INT64;
}

static_assert(
    [] {
        bool isSame = true;
        for (unsigned int tag = 0; tag < TAG_END + 2; ++tag) {
            const auto type = static_cast<MultiType::TYPE>(tag);
            isSame = isSame && IsHeldTag(type) == (FormOf(type) != Form::NO_KIND);
        }
        return isSame;
    }(),
    "the kinds have tags without a gap, but for the way to compare, which no value holds");

}  // namespace kinds

#endif
