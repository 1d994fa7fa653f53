#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>
#include <typeinfo>
#include <vector>

#include "tests/support/scoped_locale.h"
#include "utilities/values/multitype.h"

namespace {

using Exact = long double;  // Holds every 64-bit integer and every double.
static_assert(std::numeric_limits<Exact>::digits >= 64);

/// What a source may read as, from the target's own range and the pairs that stop short of it.
template <class To>
Exact Upper(MultiType::TYPE source) {
    const bool fromText = source >= MultiType::TYPE_STRING;
    if (std::is_same_v<To, unsigned int> && source == MultiType::TYPE_INT64)
        return 2147483647.0L;
    if (std::is_same_v<To, unsigned __int64> && source == MultiType::TYPE_FLOAT)
        return 4294967296.0L;
    if (std::is_same_v<To, unsigned __int64> && (source == MultiType::TYPE_DOUBLE || fromText))
        return 4294967295.0L;
    return static_cast<Exact>(std::numeric_limits<To>::max());
}

template <class To>
To Expected(MultiType::TYPE source, Exact value) {
    const bool floating = source == MultiType::TYPE_FLOAT || source == MultiType::TYPE_DOUBLE;
    if constexpr (std::is_same_v<To, bool>) {
        return value != 0;
    } else if constexpr (std::is_floating_point_v<To>) {
        if (source == MultiType::TYPE_UINT64)
            value = std::fmin(value, Exact(INT64_MAX));
        if (source >= MultiType::TYPE_DOUBLE && sizeof(To) == sizeof(float) && !std::isnan(value))
            value = std::fmax(std::fmin(value, Exact(FLT_MAX)), Exact(-FLT_MAX));
        return static_cast<To>(value);
    } else {
        if (std::isnan(value))
            return sizeof(To) == 8 ? static_cast<To>(1ull << 63) : To(0);
        if (floating)
            value = static_cast<double>(value) + (value >= 0 ? 0.5 : -0.5);
        const Exact lower = static_cast<Exact>(std::numeric_limits<To>::min());
        value = std::fmax(std::fmin(value, Upper<To>(source)), lower);
        return static_cast<To>(std::trunc(value));
    }
}

/// Calls `check` with a zero of each type that a value reads as.
template <class Check>
void ForEachTarget(Check check) {
    check(bool()), check(char()), check(short()), check(int()), check(0ll), check(0u), check(0ull);
    check(static_cast<unsigned char>(0)), check(static_cast<unsigned short>(0));
    check(0.0f), check(0.0);
}

template <class T>
std::string Bits(T value) {
    if (value != value)
        return "NaN";
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

/// Integers are read from `whole`, floating numbers from `value`.
void CheckAllTargets(const MultiType& held, Exact whole, Exact value) {
    ForEachTarget([&]<class To>(To actual) {
        if (std::is_same_v<To, bool> && held.Type() >= MultiType::TYPE_STRING)
            return;
        const Exact source = std::is_floating_point_v<To> ? value : whole;
        const To expected = Expected<To>(held.Type(), source);
        held.Get(actual);
        EXPECT_EQ(Bits(actual), Bits(expected))
            << held.Type() << " holding " << source << " read as " << typeid(To).name() << ": "
            << +actual;
        EXPECT_EQ(Bits(held.GetAs<To>()), Bits(expected));
    });
}

/// Every bound of every integer form with its neighbours, both signs.
std::vector<Exact> InterestingNumbers() {
    std::vector<Exact> numbers = {0};
    for (const int bits : {0, 7, 8, 15, 16, 24, 31, 32, 53, 63, 64}) {
        for (const int offset : {-2, -1, 0, 1, 2}) {
            numbers.push_back(std::ldexp(Exact(1), bits) + offset);
            numbers.push_back(-std::ldexp(Exact(1), bits) + offset);
        }
    }
    return numbers;
}

TEST(Numbers, IntegersReadAsEveryTarget) {
    ForEachTarget([]<class From>(From) {
        for (const Exact number : InterestingNumbers()) {
            if (std::is_integral_v<From> && number >= Exact(std::numeric_limits<From>::min()) &&
                number <= Exact(std::numeric_limits<From>::max()))
                CheckAllTargets(MultiType(static_cast<From>(number)), number, number);
        }
    });
    CheckAllTargets(MultiType(), 0, 0);
}

TEST(Numbers, FloatingNumbersRoundAndSaturate) {
    std::vector<Exact> numbers = InterestingNumbers();
    for (const double number : {0.5,          0.4,          0.49999999999999994,
                                1.5,          2.4,          2.5,
                                0.2,          127.4,        127.5,
                                255.5,        32767.5,      65535.49,
                                2147483647.5, 4294967295.5, 5e9,
                                1e19,         1e39,         1e300,
                                DBL_MIN,      DBL_MAX,      double(FLT_MAX),
                                HUGE_VAL})
        numbers.insert(numbers.end(), {number, -number});
    numbers.push_back(NAN);
    for (const Exact number : numbers) {
        const auto asDouble = static_cast<double>(number);
        CheckAllTargets(MultiType(asDouble), asDouble, asDouble);
        const auto asFloat = static_cast<float>(number);
        CheckAllTargets(MultiType(asFloat), asFloat, asFloat);
    }
    EXPECT_TRUE(std::signbit(MultiType(-0.0).GetAs<float>()));
    EXPECT_EQ(MultiType(HUGE_VALF).GetAs<float>(), HUGE_VALF) << "a held single is read exactly";
    EXPECT_EQ(MultiType(16777217).GetAs<float>(), 16777216.0f);
    // Above half way by one: two roundings, by way of a double, would end a step too high.
    EXPECT_EQ(MultiType((1ll << 62) + (1ll << 38) + 1).GetAs<float>(), 0x1.000002p62f);
}

TEST(Numbers, TextsReadTheNumberAtTheirStart) {
    const struct {
        const char* text;
        Exact integer, floating;
    } rows[] = {
        {"", 0, 0},
        {"letters", 0, 0},
        {"12abc", 12, 12},
        {" \t\n\v\f\r-5.9", -5, -5.9},
        {"+7", 7, 7},
        {"+-7", 0, 0},
        {"1e39", 1, 1e39},
        {"-1e400", -1, -DBL_MAX},
        {"1e-400", 1, 0},
        {".5e1x", 0, 5},
        {"0x10", 0, 0},
        {"inf", 0, 0},
        {"-nan", 0, 0},
        {"infinity", 0, 0},
        {"300", 300, 300},
        {"-300", -300, -300},
        {"3000000000", 3000000000.0L, 3e9},
        {"5000000000", 5000000000.0L, 5e9},
        {"9223372036854775807", INT64_MAX, 9223372036854775807.0},
        {"-9223372036854775808", INT64_MIN, -9223372036854775808.0},
        {"99999999999999999999", INT64_MAX, 1e20},
        {"-99999999999999999999", INT64_MIN, -1e20},
        {"\u00A01", 0, 0}  // no blank outside ASCII
    };
    const ScopedLocale locale("C.utf8");
    for (const auto& row : rows) {
        for (const MultiType& held : {MultiType(row.text), MultiType(WString(row.text))}) {
            SCOPED_TRACE(row.text);
            CheckAllTargets(held, row.integer, static_cast<double>(row.floating));
            EXPECT_EQ(held.GetAs<bool>(), *row.text != '\0');
        }
    }
    using namespace std::string_literals;
    EXPECT_EQ(MultiType(String("4\0002"s)).GetAs<int>(), 4) << "a NUL ends the number";
}

TEST(Numbers, OnlyTheWholeTextZeroIsFalse) {
    using namespace std::string_literals;
    for (const std::string& text : {"00"s, "0.0"s, "false"s, " 0"s, "0\0"s, "\0"s, "1"s}) {
        EXPECT_TRUE(MultiType(String(text)).GetAs<bool>()) << testing::PrintToString(text);
        const WString wide(std::u16string(text.begin(), text.end()));
        EXPECT_TRUE(MultiType(wide).GetAs<bool>()) << testing::PrintToString(text);
    }
    for (const char* text : {"", "0"}) {
        EXPECT_FALSE(MultiType(text).GetAs<bool>());
        EXPECT_FALSE(MultiType(WString(text)).GetAs<bool>());
    }
}

TEST(Numbers, BlocksGiveTheirFirstBytes) {
    const unsigned char bytes[] = {0x81, 0xFE, 3, 0x94, 5, 6, 0xF7, 0x3F, 9};
    for (unsigned int size = 0; size <= sizeof bytes; ++size) {
        const MultiType block(size, bytes, 1);
        ForEachTarget([&]<class To>(To expected) {
            if (std::is_same_v<To, bool>)
                expected = static_cast<To>(size > 0);
            else if (size >= sizeof expected)
                std::memcpy(&expected, bytes, sizeof expected);
            EXPECT_EQ(Bits(block.GetAs<To>()), Bits(expected)) << size << " for " << sizeof(To);
        });
        EXPECT_FALSE(MultiType(size, "\0\1\1\1\1\1\1\1\1", 1).GetAs<bool>());
    }
}

TEST(Numbers, TextsFollowTheLocalesDecimalPoint) {
    const ScopedLocale locale(GermanLatin1());
    ASSERT_TRUE(locale);
    EXPECT_EQ(MultiType("1,5").GetAs<double>(), 1.5);
    EXPECT_EQ(MultiType(u"-1,5e2").GetAs<float>(), -150.0f);
    EXPECT_EQ(MultiType("1.5").GetAs<double>(), 1.0);
    EXPECT_EQ(MultiType(0.1).GetAs<String>(), "0,1");
    EXPECT_EQ(MultiType(1.5e300).GetAs<WString>(), u"1,5e+300");
}

}  // namespace
