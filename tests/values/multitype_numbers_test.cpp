#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <clocale>
#include <cmath>
#include <cstring>
#include <limits>
#include <typeinfo>
#include <utility>
#include <vector>

#include "tests/support/scoped_locale.h"
#include "tests/values/flat_forms.h"

namespace {

using namespace std::string_literals;

using Exact = long double;  // Holds every 64-bit integer and every double.
static_assert(std::numeric_limits<Exact>::digits >= 64);

/// What a source may read as, from the target's own range and the pairs that stop short of it.
template <class To>
Exact Upper(MultiType::TYPE source) {
    if (std::is_same_v<To, unsigned int> && source == MultiType::TYPE_INT64)
        return 2147483647.0L;
    if (std::is_same_v<To, unsigned __int64> && source >= MultiType::TYPE_FLOAT)
        return source == MultiType::TYPE_FLOAT ? 4294967296.0L : 4294967295.0L;
    return static_cast<Exact>(std::numeric_limits<To>::max());
}

template <class To>
To Expected(MultiType::TYPE source, Exact value) {
    if constexpr (std::is_same_v<To, bool>) {
        return value != 0;
    } else if constexpr (std::is_floating_point_v<To>) {
        if (source == MultiType::TYPE_UINT64)
            value = std::min(value, Exact(INT64_MAX));
        if (source >= MultiType::TYPE_DOUBLE && sizeof(To) == sizeof(float))
            value = std::clamp(value, Exact(-FLT_MAX), Exact(FLT_MAX));
        return static_cast<To>(value);
    } else {
        if (std::isnan(value))
            return sizeof(To) == 8 ? static_cast<To>(1ull << 63) : To(0);
        if (source == MultiType::TYPE_FLOAT || source == MultiType::TYPE_DOUBLE)
            value = static_cast<double>(value) + (value >= 0 ? 0.5 : -0.5);
        const Exact lower = static_cast<Exact>(std::numeric_limits<To>::min());
        return static_cast<To>(std::trunc(std::clamp(value, lower, Upper<To>(source))));
    }
}

std::string Bits(auto value) {
    return value != value ? "NaN" : std::string(reinterpret_cast<char*>(&value), sizeof value);
}

void CheckAllTargets(const MultiType& held, Exact value) {
    ForEachNumber([&]<class To>(To) {
        if (std::is_same_v<To, bool> && held.Type() >= MultiType::TYPE_STRING)
            return;
        const To actual = held.GetAs<To>();
        EXPECT_EQ(Bits(actual), Bits(Expected<To>(held.Type(), value)))
            << held.Type() << " holding " << value << " read as " << typeid(To).name() << ": "
            << +actual;
    });
}

/// Every bound of every integer form with its neighbours and halves, both signs.
std::vector<Exact> InterestingNumbers() {
    std::vector<Exact> numbers;
    for (const int bits : {0, 7, 8, 15, 16, 24, 31, 32, 53, 63, 64})
        for (const Exact offset : {-2.0L, -1.0L, -0.5L, 0.0L, 0.5L, 1.0L, 2.0L})
            for (const Exact sign : {1, -1})
                numbers.push_back(sign * (std::ldexp(Exact(1), bits) + offset));
    return numbers;
}

TEST(Numbers, OfEveryTypeReadAsEveryTarget) {
    std::vector<Exact> numbers = InterestingNumbers();
    for (const double number : {0.4, 0.49999999999999994, 1e39, 1e300, DBL_MIN, HUGE_VAL})
        numbers.insert(numbers.end(), {number, -number});
    numbers.push_back(NAN);
    // Above half way by one: two roundings, by way of a double, would end a step too high.
    numbers.push_back(Exact((1ll << 62) + (1ll << 38) + 1));
    ForEachNumber([&]<class From>(From) {
        using Limits = std::numeric_limits<From>;
        for (const Exact number : numbers) {
            if (std::is_floating_point_v<From> ||
                (number >= Exact(Limits::min()) && number <= Exact(Limits::max())))
                CheckAllTargets(static_cast<From>(number), Exact(static_cast<From>(number)));
        }
    });
    CheckAllTargets(MultiType(), 0);
}

TEST(Numbers, TextsReadTheNumberAtTheirStart) {
    std::vector<std::pair<std::string, Exact>> rows = {
        {"letters", 0}, {" -5.9abc", -5.9}, {"4\0002"s, 4}};
    for (const Exact number : InterestingNumbers())
        rows.emplace_back(std::to_string(number), number);
    for (const auto& [text, value] : rows) {
        SCOPED_TRACE(text);
        CheckAllTargets(String(text), value);
        CheckAllTargets(WString(std::u16string(text.begin(), text.end())), value);
    }
    EXPECT_EQ(MultiType("1e39").GetAs<int>(), 1);
    EXPECT_EQ(MultiType("1e39").GetAs<float>(), FLT_MAX);
    EXPECT_EQ(MultiType(u"-1e400").GetAs<double>(), -DBL_MAX);
    const ScopedLocale locale(GermanLatin1());
    ASSERT_TRUE(locale);
    EXPECT_EQ(MultiType("1,5").GetAs<double>(), 1.5);
    EXPECT_EQ(MultiType(u"-1,5e2").GetAs<float>(), -150.0f);
    EXPECT_EQ(MultiType(0.1).GetAs<String>(), "0,1");
    EXPECT_EQ(MultiType(1.5e300).GetAs<WString>(), u"1,5e+300");
    ASSERT_NE(std::setlocale(LC_ALL, PashtoUtf8()), nullptr);
    EXPECT_EQ(MultiType(0.5).GetAs<WString>(), u"0\u066B5");
}

TEST(Numbers, OnlyTheEmptyTextAndTheWholeTextZeroAreFalse) {
    for (const std::string& text : {""s, "0"s, "00"s, "false"s, " 0"s, "0\0"s, "\0"s}) {
        const bool expected = text != "" && text != "0";
        const WString wide(std::u16string(text.begin(), text.end()));
        EXPECT_EQ(MultiType(String(text)).GetAs<bool>(), expected) << testing::PrintToString(text);
        EXPECT_EQ(MultiType(wide).GetAs<bool>(), expected) << testing::PrintToString(text);
    }
}

TEST(Numbers, BlocksGiveTheirFirstBytes) {
    const unsigned char bytes[] = {0x81, 0xFE, 3, 0x94, 5, 6, 0xF7, 0x3F, 9};
    for (unsigned int size = 0; size <= sizeof bytes; ++size) {
        const MultiType block(size, bytes, 1);
        ForEachNumber([&]<class To>(To expected) {
            if (std::is_same_v<To, bool>)
                expected = static_cast<To>(size > 0);
            else if (size >= sizeof expected)
                std::memcpy(&expected, bytes, sizeof expected);
            EXPECT_EQ(Bits(block.GetAs<To>()), Bits(expected)) << size << " for " << sizeof(To);
        });
        EXPECT_FALSE(MultiType(size, "\0\1\1\1\1\1\1\1\1", 1).GetAs<bool>());
    }
}

}  // namespace
