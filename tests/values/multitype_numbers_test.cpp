#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cmath>
#include <limits>
#include <sstream>
#include <type_traits>

#include "tests/support/scoped_locale.h"
#include "tests/values/flat_forms.h"

namespace {

using namespace std::string_literals;

/// As a boolean, as the signed and the unsigned integers by width, and as both floating numbers;
/// "max" and "min" are the bounds of each.
std::string Readings(const MultiType& value) {
    std::ostringstream out;
    ForEachNumber([&]<class T>(T) {
        // A char is signed to the library, whatever the compiler does.
        using Read = std::conditional_t<std::is_same_v<T, char>, signed char, T>;
        const auto read = static_cast<Read>(value.GetAs<T>());
        const bool isMost = read != 1 && read == std::numeric_limits<Read>::max();
        const bool isLeast = read != 0 && read == std::numeric_limits<Read>::lowest();
        if (isMost || isLeast)
            out << (isMost ? " max" : " min");
        else
            out << ' ' << +read;
    });
    return out.str().substr(1);
}

TEST(Numbers, ReadAsEveryTarget) {
    struct Row {
        MultiType value;
        std::string readings;
    };
    const Row rows[] = {
        {{}, "0 0 0 0 0 0 0 0 0 0 0"},
        {true, "1 1 1 1 1 1 1 1 1 1 1"},
        {'\x7F', "1 max 127 127 127 127 127 127 127 127 127"},
        {short(-32768), "1 min min -32768 -32768 0 0 0 0 -32768 -32768"},
        {INT_MIN, "1 min min min -2147483648 0 0 0 0 -2.14748e+09 -2.14748e+09"},
        {300, "1 max 300 300 300 max 300 300 300 300 300"},
        {INT_MAX, "1 max max max 2147483647 max max 2147483647 2147483647 2.14748e+09 2.14748e+09"},
        {LLONG_MIN, "1 min min min min 0 0 0 0 -9.22337e+18 -9.22337e+18"},
        {3000000000ll, "1 max max max 3000000000 max max 2147483647 3000000000 3e+09 3e+09"},
        {5000000000ll, "1 max max max 5000000000 max max 2147483647 5000000000 5e+09 5e+09"},
        {static_cast<unsigned char>(255), "1 max 255 255 255 max 255 255 255 255 255"},
        {static_cast<unsigned short>(65535),
         "1 max max 65535 65535 max max 65535 65535 65535 65535"},
        {UINT_MAX, "1 max max max 4294967295 max max max 4294967295 4.29497e+09 4.29497e+09"},
        {9223372036854775808ull,
         "1 max max max max max max max 9223372036854775808 9.22337e+18 9.22337e+18"},
        {ULLONG_MAX, "1 max max max max max max max max 9.22337e+18 9.22337e+18"},
        {-0.2f, "1 0 0 0 0 0 0 0 0 -0.2 -0.2"},
        {2.5f, "1 3 3 3 3 3 3 3 3 2.5 2.5"},
        {5e9f, "1 max max max 5000000000 max max max 4294967296 5e+09 5e+09"},
        {-1e30f, "1 min min min min 0 0 0 0 -1e+30 -1e+30"},
        {NAN, "1 0 0 0 min 0 0 0 9223372036854775808 nan nan"},
        {-0.0, "0 0 0 0 0 0 0 0 0 -0 -0"},
        {0.4, "1 0 0 0 0 0 0 0 0 0.4 0.4"},
        {0.49999999999999994, "1 1 1 1 1 1 1 1 1 0.5 0.5"},
        {-2.5, "1 -3 -3 -3 -3 0 0 0 0 -2.5 -2.5"},
        {127.5, "1 max 128 128 128 128 128 128 128 127.5 127.5"},
        {-127.5, "1 min -128 -128 -128 0 0 0 0 -127.5 -127.5"},
        {-2147483648.5, "1 min min min -2147483649 0 0 0 0 -2.14748e+09 -2.14748e+09"},
        {4294967294.5, "1 max max max 4294967295 max max max 4294967295 4.29497e+09 4.29497e+09"},
        {9223372036854774784.0,
         "1 max max max 9223372036854774784 max max max 4294967295 9.22337e+18 9.22337e+18"},
        {9223372036854775808.0, "1 max max max max max max max 4294967295 9.22337e+18 9.22337e+18"},
        {8388609.0f, "1 max max 8388609 8388609 max max 8388609 8388609 8.38861e+06 8.38861e+06"},
        {4e38, "1 max max max max max max max 4294967295 max 4e+38"},
        {-4e38, "1 min min min min 0 0 0 0 min -4e+38"},
        {HUGE_VAL, "1 max max max max max max max 4294967295 max inf"},
        {std::nan(""), "1 0 0 0 min 0 0 0 9223372036854775808 nan nan"},
        {{0, "", 1}, "0 0 0 0 0 0 0 0 0 0 0"},
        {{1, "\x81", 1}, "1 -127 0 0 0 129 0 0 0 0 0"},
        {{3, "\x81\xFE\3", 1}, "1 -127 -383 0 0 129 65153 0 0 0 0"},
        {{4, "\x81\xFE\3\x94", 1}, "1 -127 -383 -1811677567 0 129 65153 2483289729 0 -6.664e-27 0"},
        {{9, "\0\xFE\3\x94\5\6\xF7?\1", 1},
         "0 0 -512 -1811677696 4609159364664884736 0 65024 2483289600 4609159364664884736 "
         "-6.6639e-27 1.43897"},
    };
    for (const auto& [value, readings] : rows)
        EXPECT_EQ(Readings(value), readings) << value.GetAs<String>();
    EXPECT_EQ(MultiType(INT_MAX).GetAs<double>(), 2147483647.0);
    EXPECT_EQ(MultiType("0.1").GetAs<double>(), 0.1);
    // Above half way by one: two roundings, by way of a double, would end a step too high.
    EXPECT_EQ(MultiType((1ll << 62) + (1ll << 38) + 1).GetAs<float>(), 0x1.000002p62f);
}

TEST(Numbers, TextsReadTheNumberAtTheirStart) {
    const std::pair<std::string, std::string> rows[] = {
        {"", "0 0 0 0 0 0 0 0 0 0 0"},
        {"0", "0 0 0 0 0 0 0 0 0 0 0"},
        {"00", "1 0 0 0 0 0 0 0 0 0 0"},
        {"0\0"s, "1 0 0 0 0 0 0 0 0 0 0"},
        {" 0", "1 0 0 0 0 0 0 0 0 0 0"},
        {"letters", "1 0 0 0 0 0 0 0 0 0 0"},
        {" -5.9abc", "1 -5 -5 -5 -5 0 0 0 0 -5.9 -5.9"},
        {"4\0002"s, "1 4 4 4 4 4 4 4 4 4 4"},
        {"-40000", "1 min min -40000 -40000 0 0 0 0 -40000 -40000"},
        {"3000000000", "1 max max max 3000000000 max max 3000000000 3000000000 3e+09 3e+09"},
        {"5000000000", "1 max max max 5000000000 max max max 4294967295 5e+09 5e+09"},
        {"9223372036854775807", "1 max max max max max max max 4294967295 9.22337e+18 9.22337e+18"},
        {"-1e39", "1 -1 -1 -1 -1 0 0 0 0 min -1e+39"},
        {"0.1", "1 0 0 0 0 0 0 0 0 0.1 0.1"},
    };
    for (const auto& [text, readings] : rows) {
        const WString wide(std::u16string(text.begin(), text.end()));
        for (const MultiType& value : {MultiType(String(text)), MultiType(wide)})
            EXPECT_EQ(Readings(value), readings) << testing::PrintToString(text);
    }
    const ScopedLocale locale(GermanLatin1());
    EXPECT_EQ(MultiType(u"-1,5e2").GetAs<float>(), -150.0f);
    EXPECT_EQ(MultiType(1.5e300).GetAs<WString>(), u"1,5e+300");
    ASSERT_NE(std::setlocale(LC_ALL, PashtoUtf8()), nullptr);
    EXPECT_EQ(MultiType(0.5).GetAs<WString>(), u"0\u066B5");
    std::setlocale(LC_CTYPE, "C");
    EXPECT_EQ(MultiType(0.5).GetAs<WString>(), u"0.5") << "such a point has no wide form there";
}

}  // namespace
