/// How the value of each tag lies in memory: one table for the size queries and for every exchange
/// with flat memory, in either byte order.
#ifndef UTILITIES_VALUES_LAYOUT_INTERNAL_H
#define UTILITIES_VALUES_LAYOUT_INTERNAL_H

#include <iterator>

#include "utilities/values/multitype.h"

namespace layout {

enum class Form : unsigned char { None, Block, Inline, Narrow, Wide };

struct Layout {
    Form form;
    /// The bytes that change their order together: all of an inline form, a unit of a text or
    /// block.
    unsigned char unit;
    bool isSigned;
};

/// By tag.
inline constexpr Layout LAYOUTS[] = {
    {Form::None, 0, true},     // TYPE_INVALID
    {Form::Block, 1, true},    // TYPE_RAW
    {Form::Inline, 1, false},  // TYPE_BOOL
    {Form::Inline, 1, true},   // TYPE_CHAR
    {Form::Inline, 2, true},   // TYPE_SHORT
    {Form::Inline, 4, true},   // TYPE_INT
    {Form::Inline, 8, true},   // TYPE_INT64
    {Form::Inline, 1, false},  // TYPE_UCHAR
    {Form::Inline, 2, false},  // TYPE_USHORT
    {Form::Inline, 4, false},  // TYPE_UINT
    {Form::Inline, 8, false},  // TYPE_UINT64
    {Form::Inline, 4, true},   // TYPE_FLOAT
    {Form::Inline, 8, true},   // TYPE_DOUBLE
    {Form::Narrow, 1, true},   // TYPE_STRING
    {Form::Wide, 2, true},     // TYPE_WSTRING
};

/// Whether `type` is one of the tags that a value can have.
constexpr bool IsHeldTag(MultiType::TYPE type) {
    return static_cast<unsigned int>(type) < std::size(LAYOUTS);
}

/// That of `TYPE_INVALID` for everything that is no tag.
constexpr const Layout& LayoutOf(MultiType::TYPE type) {
    return LAYOUTS[IsHeldTag(type) ? type : MultiType::TYPE_INVALID];
}

/// The bytes of a text with its terminator.
template <class Text>
unsigned int FlatSize(const Text& text) {
    return static_cast<unsigned int>((text.size() + 1) * sizeof(typename Text::value_type));
}

}  // namespace layout

#endif
