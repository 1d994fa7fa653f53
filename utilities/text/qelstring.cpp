#define UTILITIES_EMIT_INLINE
#include "utilities/text/qelstring.h"

#include <algorithm>
#include <cstdarg>

#include "utilities/platform/widetext.h"
#include "utilities/runtime/print.h"

using NarrowBase = std::basic_string<char>;
using WideBase = std::basic_string<WideChar>;

namespace {

/// What differs between the two widths: the platform's and the run-time's operations on their
/// characters.
template <class Char>
struct Width;

template <>
struct Width<char> {
    static constexpr auto Print = runtime::_vsnprintf;
    static constexpr auto IsSpace = platform::isspace;
    static constexpr auto Upper = platform::toupper;
    static constexpr auto Lower = platform::tolower;
};

template <>
struct Width<WideChar> {
    static constexpr auto Print = runtime::_vsnwprintf;
    static constexpr auto IsSpace = platform::iswspace;
    static constexpr auto Upper = platform::towupper;
    static constexpr auto Lower = platform::towlower;
};

template <class Char>
using Text = std::basic_string<Char>;

/// The one step that converts between the widths: replaces `out` by the conversion of the text, or
/// by the empty text where that fails.
void Convert(WideBase& out, const NarrowBase& text) { platform::ConvertText(out, text); }
void Convert(NarrowBase& out, const WideBase& text) {
    platform::ConvertText(out, text, 2 * text.size() + 2);
}

template <class Char>
unsigned int ValueOf(Char c) {
    return static_cast<std::make_unsigned_t<Char>>(c);
}

template <class Char>
bool IsASCIIValue(Char c) {
    return ValueOf(c) <= 0x7F;
}

template <class Char>
bool IsLatin1Value(Char c) {
    return IsASCIIValue(c) || (ValueOf(c) >= 0xA0 && ValueOf(c) <= 0xFF);
}

/// Whether every character up to the first NUL passes `accepts`.
template <class Char, class Test>
bool AllPass(const Text<Char>& text, Test accepts) {
    const Char* c = text.c_str();
    while (*c != 0 && accepts(*c))
        ++c;
    return *c == 0;
}

/// A byte for each unit up to the first NUL: the unit's low byte where it passes `accepts`, else
/// '?'.
template <class Test>
bool ToSubset(NarrowBase& out, const WideBase& text, Test accepts) {
    NarrowBase result(WideBase::traits_type::length(text.c_str()), '?');
    for (std::size_t i = 0; i < result.size(); ++i) {
        if (accepts(text[i]))
            result[i] = static_cast<char>(text[i]);
    }
    out = std::move(result);
    return true;
}

template <class Char>
void TrimLeft(Text<Char>& text) {
    text.erase(text.begin(), std::find_if_not(text.begin(), text.end(), Width<Char>::IsSpace));
}

template <class Char>
void TrimRight(Text<Char>& text) {
    const auto last = std::find_if_not(text.rbegin(), text.rend(), Width<Char>::IsSpace);
    text.erase(last.base(), text.end());
}

template <class Char>
void Map(Text<Char>& text, Char (*function)(Char)) {
    std::transform(text.begin(), text.end(), text.begin(), function);
}

template <class Char>
bool Print(Text<Char>& text, const Char* format, std::va_list arguments) {
    constexpr std::size_t LIMIT = 1024;
    Char buffer[LIMIT];
    const int length = Width<Char>::Print(buffer, LIMIT, format, arguments);
    if (length < 0)
        return false;
    text.assign(buffer, static_cast<std::size_t>(length));
    return true;
}

}  // namespace

String::String(const char* text) : NarrowBase(text) {}
String::String(const NarrowBase& text) : NarrowBase(text) {}
String::String(const WideBase& text) { Convert(*this, text); }
String::String(const String& other) = default;
String& String::operator=(const String& other) = default;

void String::Assign(const WideBase& text) { Convert(*this, text); }
void String::Append(const WideBase& text) { append(String(text)); }
void String::Insert(unsigned int pos, const WideBase& text) { insert(pos, String(text)); }
void String::Replace(unsigned int pos, unsigned int count, const WideBase& text) {
    replace(pos, count, String(text));
}
int String::Compare(const WideBase& text) const { return compare(String(text)); }

int String::Find(const WideBase& text, unsigned int pos) const {
    return static_cast<int>(find(String(text), pos));
}
int String::Rfind(const WideBase& text, unsigned int pos) const {
    return static_cast<int>(rfind(String(text), pos));
}
int String::Find_first_of(const WideBase& text, unsigned int pos) const {
    return static_cast<int>(find_first_of(String(text), pos));
}
int String::Find_last_of(const WideBase& text, unsigned int pos) const {
    return static_cast<int>(find_last_of(String(text), pos));
}
int String::Find_first_not_of(const WideBase& text, unsigned int pos) const {
    return static_cast<int>(find_first_not_of(String(text), pos));
}
int String::Find_last_not_of(const WideBase& text, unsigned int pos) const {
    return static_cast<int>(find_last_not_of(String(text), pos));
}

void String::ToWideString(WideBase& out) const { Convert(out, *this); }
bool String::IsASCII() const { return AllPass<char>(*this, IsASCIIValue<char>); }
bool String::IsLatin1() const { return AllPass<char>(*this, IsLatin1Value<char>); }

void String::LTrim() { TrimLeft<char>(*this); }
void String::RTrim() { TrimRight<char>(*this); }
void String::ToUpper() { Map<char>(*this, Width<char>::Upper); }
void String::ToLower() { Map<char>(*this, Width<char>::Lower); }

bool String::Format(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const bool fits = Print<char>(*this, format, arguments);
    va_end(arguments);
    return fits;
}

bool String::LoadStringA(unsigned int) {
    clear();
    return false;
}

WString::WString(const WideChar* text) : WideBase(text) {}
WString::WString(const WideBase& text) : WideBase(text) {}
WString::WString(const NarrowBase& text) { Convert(*this, text); }
WString::WString(const char* text) { Convert(*this, NarrowBase(text)); }
WString::WString(const WString& other) = default;
WString& WString::operator=(const WString& other) = default;

void WString::Assign(const NarrowBase& text) { Convert(*this, text); }
void WString::Append(const NarrowBase& text) { append(WString(text)); }
void WString::Insert(unsigned int pos, const NarrowBase& text) { insert(pos, WString(text)); }
void WString::Replace(unsigned int pos, unsigned int count, const NarrowBase& text) {
    replace(pos, count, WString(text));
}
int WString::Compare(const NarrowBase& text) const { return compare(WString(text)); }

int WString::Find(const NarrowBase& text, unsigned int pos) const {
    return static_cast<int>(find(WString(text), pos));
}
int WString::Rfind(const NarrowBase& text, unsigned int pos) const {
    return static_cast<int>(rfind(WString(text), pos));
}
int WString::Find_first_of(const NarrowBase& text, unsigned int pos) const {
    return static_cast<int>(find_first_of(WString(text), pos));
}
int WString::Find_last_of(const NarrowBase& text, unsigned int pos) const {
    return static_cast<int>(find_last_of(WString(text), pos));
}
int WString::Find_first_not_of(const NarrowBase& text, unsigned int pos) const {
    return static_cast<int>(find_first_not_of(WString(text), pos));
}
int WString::Find_last_not_of(const NarrowBase& text, unsigned int pos) const {
    return static_cast<int>(find_last_not_of(WString(text), pos));
}

void WString::ToNarrowString(NarrowBase& out) const { Convert(out, *this); }
bool WString::ToASCIIString(NarrowBase& out) const {
    return ToSubset(out, *this, IsASCIIValue<WideChar>);
}
bool WString::ToLatin1String(NarrowBase& out) const {
    return ToSubset(out, *this, IsLatin1Value<WideChar>);
}
bool WString::IsASCII() const { return AllPass<WideChar>(*this, IsASCIIValue<WideChar>); }
bool WString::IsLatin1() const { return AllPass<WideChar>(*this, IsLatin1Value<WideChar>); }

void WString::LTrim() { TrimLeft<WideChar>(*this); }
void WString::RTrim() { TrimRight<WideChar>(*this); }
void WString::ToUpper() { Map<WideChar>(*this, Width<WideChar>::Upper); }
void WString::ToLower() { Map<WideChar>(*this, Width<WideChar>::Lower); }

bool WString::Format(const WideChar* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const bool fits = Print<WideChar>(*this, format, arguments);
    va_end(arguments);
    return fits;
}

bool WString::LoadStringA(unsigned int) {
    clear();
    return false;
}
