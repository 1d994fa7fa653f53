#include "utilities/runtime/printnumbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <type_traits>

#include "utilities/platform/currentlocale.h"
#include "utilities/runtime/decimal.h"
#include "utilities/runtime/digits.h"

namespace runtime {
namespace {

/// Of a floating number whose directive has none.
constexpr int USUAL_PRECISION = 6;

bool IsUpper(char letter) { return letter <= 'Z'; }

char Lower(char letter) { return static_cast<char>(letter | 0x20); }

/// Of the characters of a number; in ASCII none of them follows the small letters.
void MakeUpper(char* first, const char* last) {
    for (; first != last; ++first) {
        if (*first >= 'a')
            *first = static_cast<char>(*first - ('a' - 'A'));
    }
}

void AddPrefix(NumberText& text, char character) { text.prefix[text.prefixLength++] = character; }

void AddSign(NumberText& text, const Directive& directive, bool negative) {
    if (negative)
        AddPrefix(text, '-');
    else if (directive.plus)
        AddPrefix(text, '+');
    else if (directive.blank)
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

// Both write a number without its sign and return the end of the text. The first is several times
// faster and has "." for a decimal point, the host's has the locale's. The host takes memory for
// the digits of a long double with a large precision; without it the result is null.

constexpr std::chars_format FormOf(char lowerType) {
    return lowerType == 'e'   ? std::chars_format::scientific
           : lowerType == 'f' ? std::chars_format::fixed
                              : std::chars_format::general;
}

char* WriteDouble(char* first, char* last, char type, int precision, double value) {
    char* const end = WriteDecimal(first, last, value, FormOf(Lower(type)), precision);
    if (IsUpper(type))
        MakeUpper(first, end);
    return end;
}

template <class Float>
char* WriteByHost(char* first, char* last, const Directive& directive, int precision, Float value) {
    char format[8];
    char* at = format;
    *at++ = '%';
    if (directive.alternate)
        *at++ = '#';
    *at++ = '.';
    *at++ = '*';
    if (std::is_same_v<Float, long double>)
        *at++ = 'L';
    *at++ = directive.type;
    *at = '\0';
    const int length =
        std::snprintf(first, static_cast<std::size_t>(last - first), format, precision, value);
    return length < 0 ? nullptr : first + length;
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
std::optional<NumberText> FormatFloatOf(char (&buffer)[FLOAT_CAPACITY<Float>],
                                        const Directive& directive, Float value) {
    NumberText text;
    AddSign(text, directive, std::signbit(value));
    const char form = Lower(directive.type);
    constexpr std::size_t LIMIT{MAX_FRACTION<Float>};
    // A negative one stands for none: a hexadecimal number then has all its digits.
    int precision = form == 'a' ? -1 : USUAL_PRECISION;
    if (directive.hasPrecision)
        precision = static_cast<int>(std::min(directive.precision, LIMIT));

    const Float magnitude = std::abs(value);
    char* const last = buffer + FLOAT_CAPACITY<Float>;
    char* end;
    std::string_view point = ".";
    if (std::is_same_v<Float, double> && !directive.alternate && form != 'a') {
        end = WriteDouble(buffer, last, directive.type, precision, static_cast<double>(magnitude));
    } else {
        end = WriteByHost(buffer, last, directive, precision, magnitude);
        if (end == nullptr)
            return std::nullopt;
        point = platform::DecimalPoint();
    }

    const std::string_view digits(buffer, static_cast<std::size_t>(end - buffer));
    if (!std::isfinite(value)) {
        text.whole = digits;
        return text;
    }
    Split(text, digits, directive.type, point);
    text.padsWithZeros = true;
    if (directive.hasPrecision && (form != 'g' || directive.alternate))
        text.trailingZeros = directive.precision - static_cast<std::size_t>(precision);
    return text;
}

bool HasFlags(const Directive& directive) {
    return directive.plus || directive.blank || directive.alternate || directive.zero;
}

}  // namespace

bool IsPlainDecimal(const Directive& directive) {
    return BaseOf(directive.type) == 10 && !directive.hasPrecision && !HasFlags(directive);
}

std::string_view FormatPlain(char (&buffer)[INTEGER_CAPACITY], std::uintmax_t magnitude,
                             bool negative) {
    char* const first = buffer + (negative ? 1 : 0);
    buffer[0] = '-';
    char* const end = WriteDigits(first, CountDigits(magnitude), magnitude);
    return {buffer, static_cast<std::size_t>(end - buffer)};
}

std::string_view FormatPlain(char (&buffer)[PLAIN_CAPACITY], const Directive& directive,
                             double value) {
    // With that precision, numbers below this have no more than 30 characters.
    constexpr double LIMIT = 1e18;
    constexpr std::size_t MOST_PLACES = 9;
    const char form = directive.type;
    const bool isDecimal = form == 'f' || form == 'g' || form == 'e';
    if (!isDecimal || HasFlags(directive) || directive.precision > MOST_PLACES ||
        !(std::abs(value) < LIMIT))
        return {};
    const char* const point = platform::DecimalPoint();
    if (point[0] != '.' || point[1] != '\0')
        return {};
    const int precision =
        directive.hasPrecision ? static_cast<int>(directive.precision) : USUAL_PRECISION;
    char* const end = WriteDecimal(buffer, buffer + PLAIN_CAPACITY, value, FormOf(form), precision);
    return {buffer, static_cast<std::size_t>(end - buffer)};
}

NumberText FormatInteger(char (&buffer)[INTEGER_CAPACITY], const Directive& directive,
                         std::uintmax_t magnitude, bool negative) {
    NumberText text;
    text.padsWithZeros = !directive.hasPrecision;
    // As the host does, a pointer has a sign where the format asks for one.
    if (directive.type == 'd' || directive.type == 'i' || directive.type == 'p')
        AddSign(text, directive, negative);

    const int base = BaseOf(directive.type);
    char* end = buffer;
    if (magnitude != 0 || !directive.hasPrecision || directive.precision != 0) {
        end = base == 10 ? WriteDigits(buffer, CountDigits(magnitude), magnitude)
                         : std::to_chars(buffer, buffer + INTEGER_CAPACITY, magnitude, base).ptr;
    }
    text.whole = std::string_view(buffer, static_cast<std::size_t>(end - buffer));
    if (directive.precision > text.whole.size())
        text.leadingZeros = directive.precision - text.whole.size();

    if (base == 16 && (directive.alternate || directive.type == 'p') && magnitude != 0) {
        AddPrefix(text, '0');
        AddPrefix(text, IsUpper(directive.type) ? 'X' : 'x');
    }
    if (base == 8 && directive.alternate && text.leadingZeros == 0 && !text.whole.starts_with('0'))
        text.leadingZeros = 1;
    if (IsUpper(directive.type))
        MakeUpper(buffer, end);
    return text;
}

std::optional<NumberText> FormatFloat(char (&buffer)[FLOAT_CAPACITY<double>],
                                      const Directive& directive, double value) {
    return FormatFloatOf(buffer, directive, value);
}

std::optional<NumberText> FormatFloat(char (&buffer)[FLOAT_CAPACITY<long double>],
                                      const Directive& directive, long double value) {
    return FormatFloatOf(buffer, directive, value);
}

}  // namespace runtime
