// Texts stored as every tag and read as every type, and crossing between the widths, in the "C"
// locale and in UTF-8.
#include <algorithm>
#include <bit>
#include <cfloat>
#include <clocale>
#include <cwchar>
#include <limits>
#include <optional>

#include "fuzz/input.h"

namespace {

using WideString = std::basic_string<WideChar>;

constexpr char BLANKS[] = " \t\n\v\f\r";

/// The number at the text's start, beyond all types at the most.
__int128 IntegerOf(const std::string& text) {
    constexpr __int128 MOST = __int128{1} << 100;
    const char* at = text.c_str() + std::strspn(text.c_str(), BLANKS);
    const bool negative = *at == '-';
    at += negative || *at == '+';
    __int128 value = 0;
    for (; *at >= '0' && *at <= '9'; ++at)
        value = std::min(value * 10 + (*at - '0'), MOST);
    return negative ? -value : value;
}

/// By the host, who isn't shown what it would take for more than a decimal number.
double DoubleOf(const std::string& text) {
    const char* const start = text.c_str() + std::strspn(text.c_str(), BLANKS);
    const std::string number(start, std::strspn(start, "0123456789+-.eE"));
    return std::clamp(std::strtod(number.c_str(), nullptr), -DBL_MAX, DBL_MAX);
}

template <class T>
T Expected(const std::string& text) {
    if constexpr (std::is_same_v<T, bool>)
        return !text.empty() && text != "0";
    else if constexpr (std::is_same_v<T, double>)
        return DoubleOf(text);
    else if constexpr (std::is_same_v<T, float>)
        return static_cast<float>(std::clamp<double>(DoubleOf(text), -FLT_MAX, FLT_MAX));
    else if constexpr (std::is_same_v<T, char>)
        return static_cast<char>(Expected<signed char>(text));
    else if constexpr (std::is_same_v<T, unsigned __int64>)
        return Expected<unsigned int>(text);
    else
        return static_cast<T>(std::clamp<__int128>(IntegerOf(text), std::numeric_limits<T>::min(),
                                                   std::numeric_limits<T>::max()));
}

/// The readings of the text in both widths, and of it stored as `type`.
template <class T>
void RequireReading(const String& text, MultiType::TYPE type) {
    const auto reads = [](const MultiType& value, T expected) {
        const T read = value.GetAs<T>();
        return std::memcmp(&read, &expected, sizeof read) == 0;
    };
    const T expected = Expected<T>(text);
    MultiType stored(u"before");
    REQUIRE(stored.SetTyped(text, type) && stored.Type() == type && reads(stored, expected));
    REQUIRE(reads(text, expected));
    const String terminated(text.c_str());
    const WString wide(terminated);
    REQUIRE(wide.empty() != terminated.empty() || reads(wide, Expected<T>(terminated)));
    char printed[64] = {};
    if constexpr (std::is_floating_point_v<T>)
        std::snprintf(printed, sizeof printed, "%g", static_cast<double>(expected));
    else
        std::to_string(+expected).copy(printed, sizeof printed);
    REQUIRE(stored.GetAs<String>() == printed && stored.GetAs<WString>() == WString(printed));
}

void RequireReadings(const String& text) {
    RequireReading<bool>(text, MultiType::TYPE_BOOL);
    RequireReading<char>(text, MultiType::TYPE_CHAR);
    RequireReading<short>(text, MultiType::TYPE_SHORT);
    RequireReading<int>(text, MultiType::TYPE_INT);
    RequireReading<__int64>(text, MultiType::TYPE_INT64);
    RequireReading<unsigned char>(text, MultiType::TYPE_UCHAR);
    RequireReading<unsigned short>(text, MultiType::TYPE_USHORT);
    RequireReading<unsigned int>(text, MultiType::TYPE_UINT);
    RequireReading<unsigned __int64>(text, MultiType::TYPE_UINT64);
    RequireReading<float>(text, MultiType::TYPE_FLOAT);
    RequireReading<double>(text, MultiType::TYPE_DOUBLE);
}

void RequireTexts(const String& text, MultiType::TYPE type) {
    const bool isNumber = type == MultiType::TYPE_INVALID || MultiType::GetTypeSize(type) != 0;
    MultiType stored(text);
    REQUIRE(stored.SetTyped(text, type));
    REQUIRE(isNumber || stored.GetAs<String>() == text);
    stored.SetTyped(text, MultiType::TYPE_RAW);
    unsigned int first = 0;
    if (text.size() >= sizeof first)
        std::memcpy(&first, text.data(), sizeof first);
    REQUIRE(stored.GetAs<unsigned int>() == first);
    REQUIRE(stored.GetAs<WString>() == ToText<WideChar>(Bytes(text.begin(), text.end())));
}

/// The host's reading of the multibyte text, up to its first NUL.
std::optional<WideString> WidenedByHost(const char* at, bool isUtf8) {
    WideString wide;
    std::mbstate_t state{};
    for (const char* const end = at + std::strlen(at); at != end;) {
        wchar_t point = 0;
        const std::size_t length =
            std::mbrtowc(&point, at, static_cast<std::size_t>(end - at), &state);
        if (length > MB_LEN_MAX || point > (isUtf8 ? 0x10FFFF : 0x7F))
            return std::nullopt;
        at += length;
        const auto value = static_cast<unsigned int>(point);
        if (value > 0xFFFF)
            wide += static_cast<WideChar>(0xD7C0 + (value >> 10));
        wide += static_cast<WideChar>(value > 0xFFFF ? 0xDC00 | (value & 0x3FF) : value);
    }
    return wide;
}

/// A text crosses whole, and back but for what is beyond the bound of the way back.
void RequireCrossing(const String& text, bool isUtf8) {
    const String source(text.c_str());
    const auto expected = WidenedByHost(source.c_str(), isUtf8);
    const WString wide(text);
    REQUIRE(wide == expected.value_or(u""));
    if (!expected)
        return;
    const std::size_t most = 2 * wide.size() + 2;
    const String back(wide);
    REQUIRE(source.compare(0, back.size(), back) == 0 && back.size() <= most);
    REQUIRE(back.size() == source.size() || back.size() + MB_CUR_MAX > most);
}

void RequireWayBack(const WString& text) {
    const WString back{String(text)};
    REQUIRE(text.compare(0, back.size(), back) == 0);
    REQUIRE(!text.IsASCII() || back == text.c_str());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const bool isUtf8 = input.ConsumeBool();
    const MultiType::TYPE type = TakeTag(input);
    REQUIRE(std::setlocale(LC_ALL, isUtf8 ? "C.utf8" : "C") != nullptr);
    const auto bytes = input.ConsumeRemainingBytes<unsigned char>();
    const String text(ToText<char>(bytes));
    RequireReadings(text);
    RequireTexts(text, type);
    RequireCrossing(text, isUtf8);
    RequireWayBack(WString(ToText<WideChar>(bytes)));
    return 0;
}
