#include "utilities/platform/numbers.h"

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
#include <utility>
#include <vector>

#include "tests/support/scoped_locale.h"

namespace {

std::u16string Widened(const std::string& text) { return {text.begin(), text.end()}; }

std::string Printed(const char* format, long double value) {
    std::vector<char> out(6000);
    return {out.data(),
            static_cast<std::size_t>(std::snprintf(out.data(), out.size(), format, value))};
}

/// Compares bits, so that the zeros differ.
void ExpectReadsAs(const std::string& text, double expected) {
    const auto bits = std::bit_cast<std::uint64_t>(expected);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(platform::atof(text.c_str())), bits)
        << text << " is " << platform::atof(text.c_str()) << ", not " << expected;
    EXPECT_EQ(std::bit_cast<std::uint64_t>(platform::wcstod(Widened(text).c_str())), bits)
        << "wide " << text;
}

void ExpectReadsAsHost(const std::string& text) {
    const double host = std::strtod(text.c_str(), nullptr);
    ExpectReadsAs(text, std::isinf(host) ? std::copysign(DBL_MAX, host) : host);
}

const std::string ZEROS(2000, '0');

void ExpectReadsAs(const std::string& text, std::int64_t expected) {
    const auto narrowed =
        static_cast<std::int32_t>(std::clamp<std::int64_t>(expected, INT32_MIN, INT32_MAX));
    EXPECT_EQ(platform::_atoi64(text.c_str()), expected) << text;
    EXPECT_EQ(platform::_wtoi64(Widened(text).c_str()), expected) << text;
    EXPECT_EQ(platform::atol(text.c_str()), narrowed) << text;
    EXPECT_EQ(platform::_wtol(Widened(text).c_str()), narrowed) << text;
}

TEST(Numbers, IntegersReadTheirDigitsAndSaturate) {
    const std::pair<std::int64_t, std::vector<std::string>> rows[] = {
        {0, {"", "abc", "0x10", "+-5", "- 5", "\xA0+5", "-0", "-" + ZEROS}},
        {12, {" \t\n\v\f\r+12abc", "12\xB2", "12.9", "12e3", ZEROS + "12"}},
        {-5, {"-5 6", " -05"}},
        {INT64_MAX, {"9223372036854775808", "18446744073709551617", "1" + ZEROS}},
        {INT64_MIN, {"-9223372036854775809", "-1" + ZEROS}},
    };
    for (const auto& [expected, texts] : rows) {
        for (const std::string& text : texts)
            ExpectReadsAs(text, expected);
    }
    for (const std::int64_t value :
         {INT32_MAX - 1L, INT32_MAX + 0L, INT32_MAX + 1L, 4294967297L, INT32_MIN + 1L,
          INT32_MIN + 0L, INT32_MIN - 1L, INT64_MAX - 1, INT64_MAX, INT64_MIN + 1, INT64_MIN})
        ExpectReadsAs(std::to_string(value), value);
    EXPECT_EQ(platform::_wtol(u"\u2003+5"), 0);
    EXPECT_EQ(platform::_wtol(u"1\u0132"), 1);
}

TEST(Numbers, FloatsReadWhatIsANumber) {
    const std::pair<double, std::vector<std::string>> rows[] = {
        {0,
         {"", ".", "-", "-.e5", "e5", "inf", "-nan", "0x10", "\xA0+5", "2.4e-324",
          "1e-99999999999999999999"}},
        {-0.0, {"-0x10", "-0.0", "-0e99999999999999999999", "-1e-400", "-." + ZEROS + "1"}},
        {1,
         {"1.", "1e", "1e+", "1e+ 2", "1,5", ZEROS + "1" + ZEROS + "e-2000",
          "0." + ZEROS + "1e2001", "1" + ZEROS + "1e-2001"}},
        {-1.5, {" \t\n\v\f\r-1.5abc", "-1.5.5", "-15E-1", "-.15e+1"}},
        {5e-324, {"4.9e-324", "2.5e-324"}},
        {DBL_MAX,
         {"1.7976931348623157e308", "1.7976931348623159e308", "1e309", "1e99999999999999999999",
          "1" + ZEROS}},
        {-DBL_MAX, {"-1e309", "-1e400"}},
    };
    for (const auto& [expected, texts] : rows) {
        for (const std::string& text : texts)
            ExpectReadsAs(text, expected);
    }
    const ScopedLocale locale(GermanLatin1());
    ASSERT_TRUE(locale);
    ExpectReadsAs("-1,5e1.5", -15.0);
    ExpectReadsAs(",5", 0.5);
    ExpectReadsAs("1.5", 1.0);
}

TEST(Numbers, FloatsReadBackAsTheHostReadsThem) {
    std::mt19937_64 random(20240229);
    for (int i = 0; i < 3000; ++i) {
        const auto value = std::bit_cast<double>(random());
        if (!std::isfinite(value))
            continue;
        for (const char* format : {"%.17Lg", "%.15Lg", "%.60Lf", "%.900Le"})
            ExpectReadsAsHost(Printed(format, value));
    }
}

// A long double has the bits for what lies half-way between two doubles.
TEST(Numbers, HalvesGoToTheEvenDouble) {
    std::mt19937_64 random(20240301);
    for (int i = 0; i < 500; ++i) {
        // Every second one is denormal.
        const auto low = std::bit_cast<double>(random() >> (i % 2 == 0 ? 2 : 13));
        const double high = std::nextafter(low, DBL_MAX);
        const bool lowIsEven = std::bit_cast<std::uint64_t>(low) % 2 == 0;
        std::string text = Printed("%.1100Le", (static_cast<long double>(low) + high) / 2);
        ExpectReadsAs(text, lowIsEven ? low : high);
        ExpectReadsAs(text.insert(text.find('e'), "1"), high);
    }
}

TEST(Numbers, GeneralIsAsTheHostPrintsIt) {
    std::vector<double> values = {0.0,  -0.0, 0.1,     1e5,    999999.5, 1234567.,  1e-4,
                                  1e-5, 1e99, DBL_MAX, 5e-324, HUGE_VAL, -HUGE_VAL, -NAN};
    std::mt19937_64 random(20240302);
    while (values.size() < 1000)
        values.push_back(std::bit_cast<double>(random()));
    char out[platform::GENERAL_CAPACITY];
    for (const double value : values)
        EXPECT_EQ(std::string(out, platform::FormatGeneral(out, value)), Printed("%Lg", value));

    const ScopedLocale locale(GermanLatin1());
    ASSERT_TRUE(locale);
    EXPECT_EQ(std::string(out, platform::FormatGeneral(out, -1.25e-100)), "-1,25e-100");
}

}  // namespace
