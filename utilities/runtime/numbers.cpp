#include "utilities/runtime/numbers.h"

#include <algorithm>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <string_view>
#include <system_error>
#include <type_traits>

#include "utilities/runtime/decimal.h"
#include "utilities/runtime/decimalpoint.h"

namespace runtime {
namespace {

template <class Char>
bool IsBlank(Char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

template <class Char>
bool IsDigit(Char c) {
    return c >= '0' && c <= '9';
}

/// Skips white space and a sign. True if the sign is a minus.
template <class Char>
bool ReadSign(const Char*& text) {
    while (IsBlank(*text))
        ++text;
    const bool negative = *text == '-';
    if (negative || *text == '+')
        ++text;
    return negative;
}

template <class Integer, class Char>
Integer ParseInteger(const Char* text) {
    using Magnitude = std::make_unsigned_t<Integer>;
    using Limits = std::numeric_limits<Integer>;
    const bool negative = ReadSign(text);
    const Magnitude most = Magnitude{Limits::max()} + (negative ? 1 : 0);

    Magnitude value = 0;
    for (; IsDigit(*text); ++text) {
        const auto digit = static_cast<Magnitude>(*text - '0');
        if (value > (most - digit) / 10)
            return negative ? Limits::min() : Limits::max();
        value = value * 10 + digit;
    }
    return static_cast<Integer>(negative ? 0 - value : value);
}

/// The significant digits that are kept of a number. A value half-way between two doubles has at
/// most 767 of them, so of all further digits it only matters whether they are zeros.
constexpr std::size_t KEPT_DIGITS = 800;

/// The number 0.DIGITS times ten to the power of `exponent`. The first digit isn't 0, so that zero
/// has none.
struct Decimal {
    bool found = false;
    bool cut = false;  ///< Digits other than 0 were not kept.
    std::size_t count = 0;
    long long exponent = 0;
    char digits[KEPT_DIGITS];
};

template <class Char>
void ReadDigits(const Char*& text, Decimal& number, bool whole) {
    for (; IsDigit(*text); ++text) {
        const char digit = static_cast<char>(*text);
        number.found = true;
        const bool leadingZero = digit == '0' && number.count == 0;
        if (whole && !leadingZero)
            ++number.exponent;
        if (!whole && leadingZero)
            --number.exponent;
        if (leadingZero)
            continue;
        if (number.count < KEPT_DIGITS)
            number.digits[number.count++] = digit;
        else
            number.cut = number.cut || digit != '0';
    }
}

template <class Char>
bool AcceptPoint(const Char*& text) {
    Char buffer[POINT_CAPACITY];
    const Char* at = text;
    for (const Char unit : DecimalPointText(buffer)) {
        if (*at++ != unit)
            return false;
    }
    text = at;
    return true;
}

/// The exponent that follows the digits; 0 if there is none.
template <class Char>
long long ReadExponent(const Char* text) {
    // More than any text has digits, and far from the type's bounds.
    constexpr long long MOST = 100'000'000'000'000'000;
    if (*text != 'e' && *text != 'E')
        return 0;
    ++text;
    const bool negative = *text == '-';
    if (negative || *text == '+')
        ++text;
    long long exponent = 0;
    for (; IsDigit(*text); ++text)
        exponent = std::min(exponent * 10 + (*text - '0'), MOST);
    return negative ? -exponent : exponent;
}

/// The double nearest to a number that is neither zero nor beyond all doubles. The digits and the
/// exponent together make the text of a whole number, for the standard library to read.
double Nearest(const Decimal& number) {
    char text[KEPT_DIGITS + 16];
    char* end = std::copy_n(number.digits, number.count, text);
    long long exponent = number.exponent - static_cast<long long>(number.count);
    if (number.cut) {
        *end++ = '1';
        --exponent;
    }
    *end++ = 'e';
    end = std::to_chars(end, std::end(text), exponent).ptr;

    double value = 0;
    if (std::from_chars(text, end, value).ec == std::errc{} && std::isfinite(value))
        return value;
    return number.exponent > 0 ? DBL_MAX : 0;
}

template <class Char>
double ParseDouble(const Char* text) {
    // With such exponents every number is above the largest double or rounds to zero.
    constexpr long long TOO_LARGE = std::numeric_limits<double>::max_exponent10 + 2;
    constexpr long long TOO_SMALL = -330;
    const bool negative = ReadSign(text);
    Decimal number;
    ReadDigits(text, number, true);
    if (AcceptPoint(text))
        ReadDigits(text, number, false);
    if (!number.found)
        return 0;
    number.exponent += ReadExponent(text);

    double magnitude = 0;
    if (number.count != 0 && number.exponent >= TOO_LARGE)
        magnitude = DBL_MAX;
    else if (number.count != 0 && number.exponent > TOO_SMALL)
        magnitude = Nearest(number);
    return negative ? -magnitude : magnitude;
}

/// Writes printf's "%g" with a point, and returns the end. `out` has `GENERAL_CAPACITY` bytes.
char* WriteGeneral(char* out, double value) {
    constexpr int PRECISION = 6;
    return WriteDecimal(out, out + GENERAL_CAPACITY, value, std::chars_format::general, PRECISION);
}

}  // namespace

std::int32_t atol(const char* text) { return ParseInteger<std::int32_t>(text); }
std::int32_t _wtol(const WideChar* text) { return ParseInteger<std::int32_t>(text); }

__int64 _atoi64(const char* text) { return ParseInteger<__int64>(text); }
__int64 _wtoi64(const WideChar* text) { return ParseInteger<__int64>(text); }

double atof(const char* text) { return ParseDouble(text); }
double wcstod(const WideChar* text) { return ParseDouble(text); }

std::size_t FormatGeneral(char* out, double value) {
    char* end = WriteGeneral(out, value);
    const char* const point = platform::DecimalPoint();
    const bool isDot = point[0] == '.' && point[1] == '\0';
    char* const place = isDot ? end : std::find(out, end, '.');
    if (place != end) {
        const std::size_t length = std::strlen(point);
        std::memmove(place + length, place + 1, static_cast<std::size_t>(end - place) - 1);
        std::memcpy(place, point, length);
        end += length - 1;
    }
    return static_cast<std::size_t>(end - out);
}

std::size_t FormatGeneral(WideChar* out, double value) {
    char ascii[GENERAL_CAPACITY];
    char* const end = WriteGeneral(ascii, value);
    char* const place = std::find(ascii, end, '.');
    WideChar* last = std::copy(ascii, place, out);
    if (place != end) {
        WideChar space[POINT_CAPACITY];
        const std::u16string_view point = DecimalPointText(space);
        last = std::copy(place + 1, end, std::copy(point.begin(), point.end(), last));
    }
    return static_cast<std::size_t>(last - out);
}

}  // namespace runtime
