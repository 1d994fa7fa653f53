#include "utilities/values/multitype.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>

#include "utilities/runtime/numbers.h"
#include "utilities/values/conversion_internal.h"
#include "utilities/values/kinds_internal.h"

using kinds::Datum;
using kinds::Form;

namespace {

constexpr std::size_t CAPACITY = runtime::GENERAL_CAPACITY;
constexpr std::size_t LARGEST_BLOCK = std::numeric_limits<unsigned int>::max();

/// The characters are ASCII.
void AssignNumber(String& out, const char* text, std::size_t length) { out.assign(text, length); }
void AssignNumber(WString& out, const char* text, std::size_t length) {
    WideChar wide[CAPACITY];
    std::copy_n(text, length, wide);
    out.assign(wide, length);
}

template <class Text, class Integer>
void AssignInteger(Text& out, Integer value) {
    char digits[CAPACITY];
    const char* end = std::to_chars(digits, digits + CAPACITY, value).ptr;
    AssignNumber(out, digits, static_cast<std::size_t>(end - digits));
}

template <class Text>
void AssignFloating(Text& out, double value) {
    typename Text::value_type characters[CAPACITY];
    out.assign(characters, runtime::FormatGeneral(characters, value));
}

void AssignText(String& out, const String& text) { out = text; }
void AssignText(String& out, const WString& text) { out.Assign(text); }
void AssignText(WString& out, const String& text) { out.Assign(text); }
void AssignText(WString& out, const WString& text) { out = text; }

/// Reads the datum of a kind as a text, one function for each sort of kind. With a number that
/// isn't a tag, `out` stays as it is.
template <class To>
void Read(kinds::NoKind, const Datum&, To&) {}

template <class To>
void Read(kinds::Nothing, const Datum&, To& out) {
    AssignNumber(out, "Invalid", 7);
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
