#include "utilities/platform/widetext.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cwctype>
#include <iterator>
#include <memory>

#include "utilities/platform/currentlocale.h"
#include "utilities/runtime/overwrite.h"
#include "utilities/runtime/surrogates.h"
#include "utilities/runtime/utf8.h"

namespace platform {

namespace {

// UTF-8 and ASCII are converted by code of our own (`runtime/utf8.h`), several times faster than
// the system's. All other encodings go through the system's functions, whose wide character holds a
// whole code point: pairs of 16-bit units are joined before and split after them.
static_assert(sizeof(wchar_t) == 4);

/// Space for the code points of a text, without heap for a short one.
class PointBuffer {
public:
    explicit PointBuffer(std::size_t capacity) {
        if (capacity > std::size(m_Local))
            m_Heap = std::make_unique_for_overwrite<wchar_t[]>(capacity);
    }
    wchar_t* Begin() { return m_Heap ? m_Heap.get() : m_Local; }

private:
    wchar_t m_Local[128];
    std::unique_ptr<wchar_t[]> m_Heap;
};

/// Joins units up to the first NUL into code points and returns their number. A surrogate without
/// its other half stays as it is: no encoding has it, so the conversion of the code points fails.
std::size_t JoinSurrogates(wchar_t* points, const WideChar* text, std::size_t length) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < length && text[i] != 0;) {
        const runtime::CodePoint point = runtime::ReadUnits(text + i);
        points[count++] = static_cast<wchar_t>(point.value);
        i += point.units;
    }
    return count;
}

/// The units fit, as no encoding has a single byte that becomes a pair of units.
std::size_t HostToWide(WideChar* out, const char* text, std::size_t length) {
    PointBuffer buffer(length);
    const wchar_t* const points = buffer.Begin();
    const std::size_t count = std::mbstowcs(buffer.Begin(), text, length);
    if (count == CONVERSION_FAILED)
        return CONVERSION_FAILED;
    WideChar* end = out;
    for (std::size_t i = 0; i < count; ++i) {
        const auto point = static_cast<char32_t>(points[i]);
        if (point > 0x10FFFF || runtime::IsSurrogate(point))
            return CONVERSION_FAILED;
        end = runtime::WriteUnits(end, point);
    }
    return static_cast<std::size_t>(end - out);
}

std::size_t HostToNarrow(char* out, const WideChar* text, std::size_t length,
                         std::size_t capacity) {
    PointBuffer buffer(length + 1);
    wchar_t* const points = buffer.Begin();
    points[JoinSurrogates(points, text, length)] = L'\0';
    return std::wcstombs(out, points, capacity);
}

/// The result of one of the system's functions for `c`, or `c` where that is no single unit.
template <class Function>
WideChar MapUnit(Function function, WideChar c) {
    const std::wint_t mapped = function(static_cast<std::wint_t>(c));
    return mapped <= 0xFFFF ? static_cast<WideChar>(mapped) : c;
}

/// The conversions in the encoding of narrow text.
std::size_t ToWide(Encoding encoding, WideChar* out, const char* text, std::size_t length) {
    if (encoding == Encoding::OTHER)
        return HostToWide(out, text, length);
    const auto convert = encoding == Encoding::UTF8 ? runtime::DecodeUtf8 : runtime::DecodeAscii;
    return convert(out, text, length);
}

std::size_t ToNarrow(Encoding encoding, char* out, const WideChar* text, std::size_t length,
                     std::size_t capacity) {
    if (encoding == Encoding::OTHER)
        return HostToNarrow(out, text, length, capacity);
    const auto convert = encoding == Encoding::UTF8 ? runtime::EncodeUtf8 : runtime::EncodeAscii;
    return convert(out, text, length, capacity);
}

/// Most texts are ASCII, of which the length is known before. False for any other.
template <class Out, class In>
bool FillWithAscii(std::basic_string<Out>& out, const std::basic_string<In>& text) {
    const std::size_t length = text.size();
    if (runtime::PlainLength(text.data(), length) != length)
        return false;
    runtime::Overwrite(out, length, [&](Out* to) {
        runtime::CopyAscii(to, text.data(), length);
        return length;
    });
    return true;
}

/// Replaces `out` by the result of `convert`, a conversion to at most `capacity` characters.
template <class Char, class Convert>
void Fill(std::basic_string<Char>& out, std::size_t capacity, Convert convert) {
    constexpr std::size_t ON_STACK = 512;
    Char local[ON_STACK];
    std::unique_ptr<Char[]> heap;
    if (capacity > ON_STACK)
        heap = std::make_unique_for_overwrite<Char[]>(capacity);
    Char* const buffer = heap ? heap.get() : local;
    const std::size_t count = convert(buffer);
    out.assign(buffer, count == CONVERSION_FAILED ? 0 : count);
}

}  // namespace

std::size_t mbstowcs(WideChar* out, const char* text, std::size_t length) {
    return ToWide(NarrowEncoding(), out, text, length);
}

std::size_t wcstombs(char* out, const WideChar* text, std::size_t length, std::size_t capacity) {
    return ToNarrow(NarrowEncoding(), out, text, length, capacity);
}

void ConvertText(std::basic_string<WideChar>& out, const std::basic_string<char>& text) {
    const Encoding encoding = NarrowEncoding();
    if (encoding != Encoding::OTHER && FillWithAscii(out, text))
        return;
    Fill(out, text.size(),
         [&](WideChar* to) { return ToWide(encoding, to, text.c_str(), text.size()); });
}

void ConvertText(std::basic_string<char>& out, const std::basic_string<WideChar>& text,
                 std::size_t most) {
    const Encoding encoding = NarrowEncoding();
    if (encoding != Encoding::OTHER && FillWithAscii(out, text))
        return;
    const std::size_t capacity = std::max(most, runtime::Utf8Capacity(text.size()));
    Fill(out, capacity, [&](char* to) {
        const auto convert = [&](std::size_t limit) {
            return ToNarrow(encoding, to, text.c_str(), text.size(), limit);
        };
        // Few texts need more than `most`, or fail, perhaps only after what is wanted of them.
        const std::size_t count = convert(capacity);
        return count <= most ? count : convert(most);
    });
}

bool isspace(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }
bool iswspace(WideChar c) { return std::iswspace(static_cast<std::wint_t>(c)) != 0; }

char toupper(char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); }
char tolower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }
WideChar towupper(WideChar c) { return MapUnit(std::towupper, c); }
WideChar towlower(WideChar c) { return MapUnit(std::towlower, c); }

}  // namespace platform
