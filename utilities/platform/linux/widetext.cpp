#include "utilities/platform/widetext.h"

#include <cctype>
#include <cstdlib>
#include <cwctype>
#include <memory>

#include "utilities/platform/currentlocale.h"
#include "utilities/platform/surrogates.h"
#include "utilities/platform/utf8.h"

namespace platform {

namespace {

// The system's wide character holds a code point, so that its functions serve the encodings that
// have no code of their own here, with their results joined to and split into 16-bit units.
static_assert(sizeof(wchar_t) == 4);

/// Joins units up to the first NUL into code points and gives their number. A surrogate alone stays
/// as it is: no encoding has it, so that the conversion of the code points fails there.
std::size_t JoinSurrogates(wchar_t* points, const WideChar* text, std::size_t length) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < length && text[i] != 0;) {
        const CodePoint point = ReadUnits(text + i);
        points[count++] = static_cast<wchar_t>(point.value);
        i += point.units;
    }
    return count;
}

/// No encoding has a pair of units in a single byte, so that they have room.
std::size_t HostToWide(WideChar* out, const char* text, std::size_t length) {
    const auto points = std::make_unique_for_overwrite<wchar_t[]>(length);
    const std::size_t count = std::mbstowcs(points.get(), text, length);
    if (count == CONVERSION_FAILED)
        return CONVERSION_FAILED;
    WideChar* end = out;
    for (std::size_t i = 0; i < count; ++i) {
        const auto point = static_cast<char32_t>(points[i]);
        if (point > 0x10FFFF || IsSurrogate(point))
            return CONVERSION_FAILED;
        end = WriteUnits(end, point);
    }
    return static_cast<std::size_t>(end - out);
}

std::size_t HostToNarrow(char* out, const WideChar* text, std::size_t length,
                         std::size_t capacity) {
    const auto points = std::make_unique_for_overwrite<wchar_t[]>(length + 1);
    points[JoinSurrogates(points.get(), text, length)] = L'\0';
    return std::wcstombs(out, points.get(), capacity);
}

/// `c` by way of one of the system's functions, where both lie in a unit's range.
template <class Function>
WideChar MapUnit(Function function, WideChar c) {
    const std::wint_t mapped = function(static_cast<std::wint_t>(c));
    return mapped <= 0xFFFF ? static_cast<WideChar>(mapped) : c;
}

}  // namespace

std::size_t mbstowcs(WideChar* out, const char* text, std::size_t length) {
    const Encoding encoding = NarrowEncoding();
    if (encoding == Encoding::Other)
        return HostToWide(out, text, length);
    const auto convert = encoding == Encoding::Utf8 ? DecodeUtf8 : DecodeAscii;
    return convert(out, text, length);
}

std::size_t wcstombs(char* out, const WideChar* text, std::size_t length, std::size_t capacity) {
    const Encoding encoding = NarrowEncoding();
    if (encoding == Encoding::Other)
        return HostToNarrow(out, text, length, capacity);
    const auto convert = encoding == Encoding::Utf8 ? EncodeUtf8 : EncodeAscii;
    return convert(out, text, length, capacity);
}

bool isspace(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }
bool iswspace(WideChar c) { return std::iswspace(static_cast<std::wint_t>(c)) != 0; }

char toupper(char c) { return static_cast<char>(std::toupper(static_cast<unsigned char>(c))); }
char tolower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }
WideChar towupper(WideChar c) { return MapUnit(std::towupper, c); }
WideChar towlower(WideChar c) { return MapUnit(std::towlower, c); }

}  // namespace platform
