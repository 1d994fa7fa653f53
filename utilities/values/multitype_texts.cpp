#include "utilities/values/multitype.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

#include "utilities/runtime/digits.h"
#include "utilities/runtime/numbers.h"
#include "utilities/runtime/overwrite.h"
#include "utilities/values/conversion_internal.h"
#include "utilities/values/kinds_internal.h"

using kinds::Datum;
using kinds::Form;

namespace {

constexpr std::size_t LARGEST_BLOCK = std::numeric_limits<unsigned int>::max();

/// Of a number, with space for more than it has.
using Characters = char[runtime::GENERAL_CAPACITY];

/// Most numbers fit into the space that a string has in itself: a copy of a fixed size takes less
/// time there than one by the length.
void AssignNumber(String& out, const Characters& text, std::size_t length) {
    constexpr std::size_t USUAL = 15;
    runtime::Overwrite(out, std::max(length, USUAL), [&](char* to) {
        std::memcpy(to, text, USUAL);
        if (length > USUAL)
            std::memcpy(to + USUAL, text + USUAL, length - USUAL);
        return length;
    });
}

/// The characters are ASCII.
void AssignNumber(WString& out, const Characters& text, std::size_t length) {
    runtime::Overwrite(out, length, [&](WideChar* to) {
        std::copy_n(text, length, to);
        return length;
    });
}

template <class Text, class Integer>
void AssignInteger(Text& out, Integer value) {
    Characters text;
    char* first = text;
    auto magnitude = static_cast<std::uint64_t>(value);
    if (value < 0) {
        *first++ = '-';
        magnitude = 0 - magnitude;
    }
    char* const end = runtime::WriteDigits(first, runtime::CountDigits(magnitude), magnitude);
    AssignNumber(out, text, static_cast<std::size_t>(end - text));
}

void AssignFloating(String& out, double value) {
    Characters text;
    AssignNumber(out, text, runtime::FormatGeneral(text, value));
}

void AssignFloating(WString& out, double value) {
    WideChar text[runtime::GENERAL_CAPACITY];
    out.assign(text, runtime::FormatGeneral(text, value));
}

/// A string's own assignment, with one call less where it takes no memory.
template <class Text>
void AssignText(Text& out, const Text& text) {
    if (text.size() > out.capacity()) {
        out = text;
        return;
    }
    runtime::Overwrite(out, text.size(), [&](auto* to) {
        std::memcpy(to, text.data(), text.size() * sizeof *to);
        return text.size();
    });
}
void AssignText(String& out, const WString& text) { out.Assign(text); }
void AssignText(WString& out, const String& text) { out.Assign(text); }

/// Reads the datum of a kind as a text, one function for each sort of kind. With a number that
/// isn't a tag, `out` stays as it is.
template <class To>
void Read(kinds::NoKind, const Datum&, To&) {}

template <class To>
void Read(kinds::Nothing, const Datum&, To& out) {
    out = To("Invalid");
}

/// The bytes as they are, without an odd last byte in wide text.
template <class To>
void Read(kinds::Block, const Datum& held, To& out) {
    using Char = typename To::value_type;
    out.resize(held.r->size / sizeof(Char));
    std::memcpy(out.data(), held.r->Data(), out.size() * sizeof(Char));
}

template <class To, class T, auto HELD>
void Read(kinds::Number<T, HELD>, const Datum& held, To& out) {
    // The plus promotes what is held: a `char` or the byte of a boolean is written as a number.
    if constexpr (std::is_floating_point_v<T>)
        AssignFloating(out, static_cast<double>(held.*HELD));
    else
        AssignInteger(out, +(held.*HELD));
}

template <class To, class T, auto HELD>
void Read(kinds::Text<T, HELD>, const Datum& held, To& out) {
    AssignText(out, *(held.*HELD));
}

}  // namespace

void MultiType::Get(String& out) const {
    kinds::Visit(m_type, [&](auto kind) { Read(kind, m_v, out); });
}

void MultiType::Get(WString& out) const {
    kinds::Visit(m_type, [&](auto kind) { Read(kind, m_v, out); });
}

bool MultiType::SetTyped(const String& text, TYPE type) {
    kinds::Visit(type, [&]<class Kind>(Kind) {
        if constexpr (Kind::FORM == Form::NOTHING)
            Invalidate();
        else if constexpr (Kind::FORM == Form::BLOCK)
            StoreRaw(static_cast<unsigned int>(std::min(text.size(), LARGEST_BLOCK)), text.c_str(),
                     0);
        else if constexpr (Kind::FORM == Form::NUMBER)
            assign(conversion::FromText<typename Kind::Type>(text));
        else
            assign(text);
    });
    return true;
}
