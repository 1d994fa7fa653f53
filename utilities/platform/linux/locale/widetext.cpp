#include "utilities/platform/widetext.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cwctype>
#include <iterator>
#include <memory>

#include "utilities/platform/currentlocale.h"
#include "utilities/runtime/overwrite.h"
#include "utilities/runtime/plain.h"
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

/// In a locale in which every byte or unit above 0x7F is a failure.
template <class Out, class In>
std::size_t ConvertAscii(Out* out, const In* text, std::size_t length, std::size_t capacity) {
    const std::size_t count = runtime::CopyPlain(out, text, std::min(length, capacity));
    return count == capacity || text[count] == In() ? count : CONVERSION_FAILED;
}

/// The conversions in the encoding of narrow text.
std::size_t ToWide(Encoding encoding, WideChar* out, const char* text, std::size_t length) {
    switch (encoding) {
        case Encoding::UTF8:
            return runtime::DecodeUtf8(out, text, length);
        case Encoding::ASCII:
            return ConvertAscii(out, text, length, length);
        default:
            return HostToWide(out, text, length);
    }
}

std::size_t ToNarrow(Encoding encoding, char* out, const WideChar* text, std::size_t length,
                     std::size_t capacity) {
    switch (encoding) {
        case Encoding::UTF8:
            return runtime::EncodeUtf8(out, text, length, capacity);
        case Encoding::ASCII:
            return ConvertAscii(out, text, length, capacity);
        default:
            return HostToNarrow(out, text, length, capacity);
    }
}

/// Replaces `out` by the copy of a plain text. False for any other; `out` then is as it was.
///
/// Most texts are plain, and their length is known before. Where nothing can be lost, one that
/// starts plain is copied at once, without a look at the rest.
template <class Out, class In>
bool FillWithPlain(std::basic_string<Out>& out, const std::basic_string<In>& text) {
    const std::size_t length = text.size();
    const bool startsPlain = length < runtime::BLOCK || runtime::ArePlain(text.data());
    if (!startsPlain || !(out.empty() || runtime::ArePlain(text.data(), length)))
        return false;
    std::size_t count = 0;
    runtime::Overwrite(out, length, [&](Out* to) {
        count = runtime::CopyPlain(to, text.data(), length);
        return count == length ? length : 0;
    });
    return count == length;
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
    const std::size_t length = count == CONVERSION_FAILED ? 0 : count;
    runtime::Overwrite(out, length, [&](Char* to) {
        std::copy_n(buffer, length, to);
        return length;
    });
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
    if (encoding != Encoding::OTHER && FillWithPlain(out, text))
        return;
    Fill(out, text.size(),
         [&](WideChar* to) { return ToWide(encoding, to, text.c_str(), text.size()); });
}

void ConvertText(std::basic_string<char>& out, const std::basic_string<WideChar>& text,
                 std::size_t most) {
    const Encoding encoding = NarrowEncoding();
    if (encoding != Encoding::OTHER && FillWithPlain(out, text))
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
