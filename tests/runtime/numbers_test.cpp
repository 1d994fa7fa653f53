#include "utilities/runtime/numbers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "tests/support/scoped_locale.h"
#include "utilities/runtime/print.h"

namespace {

const std::string ZEROS(2000, '0');

std::string Printed(const char* format, long double value) {
    static char out[6000];
    return {out, static_cast<std::size_t>(std::snprintf(out, sizeof out, format, value))};
}

/// By all parsers: the host's are right about integers. Compares a double's bits, as zeros differ.
void ExpectReads(double number, const std::vector<std::string>& texts) {
    const auto bits = std::bit_cast<std::uint64_t>(number);
    for (const std::string& text : texts) {
        const std::u16string wide(text.begin(), text.end());
        const std::int64_t integer = std::strtoll(text.c_str(), nullptr, 10);
        const std::int64_t narrowed = std::clamp<std::int64_t>(integer, INT32_MIN, INT32_MAX);
        EXPECT_EQ(runtime::_atoi64(text.c_str()), integer) << text;
        EXPECT_EQ(runtime::_wtoi64(wide.c_str()), integer) << text;
        EXPECT_EQ(runtime::atol(text.c_str()), narrowed) << text;
        EXPECT_EQ(runtime::_wtol(wide.c_str()), narrowed) << text;
        EXPECT_EQ(std::bit_cast<std::uint64_t>(runtime::atof(text.c_str())), bits) << text;
        EXPECT_EQ(std::bit_cast<std::uint64_t>(runtime::wcstod(wide.c_str())), bits) << text;
    }
}

TEST(Numbers, AreReadFromTheStartOfATextAndSaturate) {
    ExpectReads(0, {"", ".", "-", "-.e5", "e5", "abc", "inf", "-nan", "+-5", "- 5", "0x10",
                    "\xA0+5", "2.4e-324"});
    ExpectReads(-0.0, {"-0", "-" + ZEROS, "-." + ZEROS + "1", "-0x10", "-0e99999999999999999999",
                       "-1e-99999999999999999999"});
    ExpectReads(
        1, {"1.", "1e", "1e+", "1e+ 2", "1,5", "0." + ZEROS + "1e2001", "1" + ZEROS + "1e-2001"});
    ExpectReads(-1.5,
                {" \t\n\v\f\r-1.5abc", "-1.5.5", "-15E-1", "-.15e+1", "-" + ZEROS + "1.5" + ZEROS});
    ExpectReads(12, {" +12abc", "12\xB2", ZEROS + "12 3"});
    for (const char* text :
         {"2147483647", "2147483648", "2147483649", "4294967297", "9223372036854775807",
          "9223372036854775808", "9223372036854775809", "18446744073709551617"}) {
        ExpectReads(std::strtod(text, nullptr), {text});
        ExpectReads(-std::strtod(text, nullptr), {std::string("-") + text});
    }
    ExpectReads(5e-324, {"2.5e-324"});
    ExpectReads(DBL_MAX, {"1.7976931348623159e308", "1e99999999999999999999", "1" + ZEROS});
    ExpectReads(-DBL_MAX, {"-1e309", "-1" + ZEROS});
    EXPECT_EQ(runtime::_wtol(u"\u2003+5") + runtime::_wtol(u"1\u0132"), 1) << "ASCII only";
    const ScopedLocale german(GermanLatin1());
    ExpectReads(-0.5, {"-,5", "-5,e-1.5"});
    const ScopedLocale pashto(PashtoUtf8());
    ExpectReads(1, {"1\xD9\xAA", "1.5"});
    EXPECT_EQ(runtime::atof("-1٫5") + runtime::wcstod(u"-1٫5"), -3);
}

TEST(Numbers, AgreeWithTheHost) {
    std::mt19937_64 random(20240229);  // Every fourth number is denormal.
    // Those from 999999.5 on are half-way between two texts of six digits.
    std::vector<double> values = {0.0,     -0.0,     1e5,       1e-4,    1e-5,      5e-324,
                                  1e-310,  HUGE_VAL, -HUGE_VAL, -NAN,    9999995e9, 1e23,
                                  DBL_MAX, 999999.5, 100000.5,  1234565, 12345750,  10000025};
    while (values.size() < 3000)
        values.push_back(std::bit_cast<double>(random() >> (values.size() % 4 == 0 ? 12 : 0)));
    char out[runtime::GENERAL_CAPACITY];
    for (const char* name : {GermanLatin1(), PashtoUtf8(), "C"}) {
        const ScopedLocale locale(name);
        for (const double value : values)
            ASSERT_EQ(std::string(out, runtime::FormatGeneral(out, value)), Printed("%Lg", value));
    }
    for (const double value : values) {
        if (!std::isfinite(value))
            continue;
        for (const char* format : {"%.17Lg", "%.15Lg", "%.60Lf", "%.900Le"}) {
            const std::string text = Printed(format, value);
            ExpectReads(std::clamp(std::strtod(text.c_str(), nullptr), -DBL_MAX, DBL_MAX), {text});
        }
        const double next = std::nextafter(value, 2 * value);
        if (!std::isfinite(next) || value == 0)
            continue;
        // A long double has the bits for what lies half-way between two doubles.
        const bool isEven = std::bit_cast<std::uint64_t>(value) % 2 == 0;
        std::string half = Printed("%.1100Le", (static_cast<long double>(value) + next) / 2);
        ExpectReads(isEven ? value : next, {half});
        ExpectReads(next, {half.insert(half.find('e'), "10")});
    }
}

}  // namespace
