#include "utilities/platform/print_internal.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <type_traits>

#include "utilities/platform/currentlocale.h"

namespace platform {
namespace {

bool IsUpper(char letter) { return letter <= 'Z'; }

char Lower(char letter) { return static_cast<char>(letter | 0x20); }

/// The characters of a number: behind the small letters come none.
void MakeUpper(char* first, const char* last) {
    for (; first != last; ++first) {
        if (*first >= 'a')
            *first = static_cast<char>(*first - ('a' - 'A'));
    }
}

void AddPrefix(NumberText& text, char character) { text.prefix[text.prefixLength++] = character; }

void AddSign(NumberText& text, const Conversion& conversion, bool negative) {
    if (negative)
        AddPrefix(text, '-');
    else if (conversion.plus)
        AddPrefix(text, '+');
    else if (conversion.blank)
        AddPrefix(text, ' ');
}

int BaseOf(char type) {
    switch (type) {
        case 'o':
            return 8;
        case 'x':
        case 'X':
        case 'p':
            return 16;
        default:
            return 10;
    }
}

// Both write a number without its sign and give the end of the text. The first is several times
// faster and has "." for a decimal point, the host's has the locale's.

char* WriteDouble(char* first, char* last, char type, int precision, double value) {
    const char form = Lower(type);
    const auto format = form == 'e'   ? std::chars_format::scientific
                        : form == 'f' ? std::chars_format::fixed
                                      : std::chars_format::general;
    char* const end = std::to_chars(first, last, value, format, precision).ptr;
    if (IsUpper(type))
        MakeUpper(first, end);
    return end;
}

template <class Float>
char* WriteByHost(char* first, char* last, const Conversion& conversion, int precision,
                  Float value) {
    char format[8];
    char* at = format;
    *at++ = '%';
    if (conversion.alternate)
        *at++ = '#';
    *at++ = '.';
    *at++ = '*';
    if (std::is_same_v<Float, long double>)
        *at++ = 'L';
    *at++ = conversion.type;
    *at = '\0';
    const int length =
        std::snprintf(first, static_cast<std::size_t>(last - first), format, precision, value);
    return first + std::max(length, 0);
}

/// Takes a finite number apart at its decimal point and its exponent.
void Split(NumberText& text, std::string_view digits, char type, std::string_view point) {
    const char form = Lower(type);
    if (form == 'a') {
        AddPrefix(text, digits[0]);
        AddPrefix(text, digits[1]);
        digits.remove_prefix(2);
    }
    if (form != 'f') {
        const std::size_t mark = digits.find_first_of(form == 'a' ? "pP" : "eE");
        if (mark != digits.npos) {
            text.exponent = digits.substr(mark);
            digits = digits.substr(0, mark);
        }
    }
    const std::size_t place = digits.find(point);
    text.whole = digits.substr(0, place);
    text.hasPoint = place != digits.npos;
    if (text.hasPoint)
        text.fraction = digits.substr(place + point.size());
}

template <class Float>
NumberText FormatFloatOf(char (&room)[FLOAT_CAPACITY<Float>], const Conversion& conversion,
                         Float value) {
    NumberText text;
    AddSign(text, conversion, std::signbit(value));
    const char form = Lower(conversion.type);
    constexpr std::size_t LIMIT{MAX_FRACTION<Float>};
    // A negative one stands for none: a hexadecimal number has all its digits then.
    int precision = form == 'a' ? -1 : 6;
    if (conversion.hasPrecision)
        precision = static_cast<int>(std::min(conversion.precision, LIMIT));

    const Float magnitude = std::abs(value);
    char* const last = room + FLOAT_CAPACITY<Float>;
    char* end;
    std::string_view point = ".";
    if (std::is_same_v<Float, double> && !conversion.alternate && form != 'a') {
        end = WriteDouble(room, last, conversion.type, precision, static_cast<double>(magnitude));
    } else {
        end = WriteByHost(room, last, conversion, precision, magnitude);
        point = DecimalPoint();
    }

    const std::string_view digits(room, static_cast<std::size_t>(end - room));
    if (!std::isfinite(value)) {
        text.whole = digits;
        return text;
    }
    Split(text, digits, conversion.type, point);
    text.padsWithZeros = true;
    if (conversion.hasPrecision && (form != 'g' || conversion.alternate))
        text.trailingZeros = conversion.precision - static_cast<std::size_t>(precision);
    return text;
}

}  // namespace

NumberText FormatInteger(char (&room)[INTEGER_CAPACITY], const Conversion& conversion,
                         std::uintmax_t magnitude, bool negative) {
    NumberText text;
    text.padsWithZeros = !conversion.hasPrecision;
    // The host has a sign in front of a pointer too, where one is asked for.
    if (conversion.type == 'd' || conversion.type == 'i' || conversion.type == 'p')
        AddSign(text, conversion, negative);

    const int base = BaseOf(conversion.type);
    char* end = room;
    if (magnitude != 0 || !conversion.hasPrecision || conversion.precision != 0)
        end = std::to_chars(room, room + INTEGER_CAPACITY, magnitude, base).ptr;
    text.whole = std::string_view(room, static_cast<std::size_t>(end - room));
    if (conversion.precision > text.whole.size())
        text.leadingZeros = conversion.precision - text.whole.size();

    if (base == 16 && (conversion.alternate || conversion.type == 'p') && magnitude != 0) {
        AddPrefix(text, '0');
        AddPrefix(text, IsUpper(conversion.type) ? 'X' : 'x');
    }
    if (base == 8 && conversion.alternate && text.leadingZeros == 0 && !text.whole.starts_with('0'))
        text.leadingZeros = 1;
    if (IsUpper(conversion.type))
        MakeUpper(room, end);
    return text;
}

NumberText FormatFloat(char (&room)[FLOAT_CAPACITY<double>], const Conversion& conversion,
                       double value) {
    return FormatFloatOf(room, conversion, value);
}

NumberText FormatFloat(char (&room)[FLOAT_CAPACITY<long double>], const Conversion& conversion,
                       long double value) {
    return FormatFloatOf(room, conversion, value);
}

}  // namespace platform
