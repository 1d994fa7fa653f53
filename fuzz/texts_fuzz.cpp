// Texts stored as every tag and read as every type, and crossing between the widths, in the "C"
// locale and in UTF-8.
#include <algorithm>
#include <cfloat>
#include <clocale>
#include <limits>

#include "fuzz/input.h"

namespace {

/// By the host, who isn't shown what it would take for more than a decimal number.
double DoubleOf(const std::string& text) {
    const char* const start = text.c_str() + std::strspn(text.c_str(), " \t\n\v\f\r");
    const std::string number(start, std::strspn(start, "0123456789+-.eE"));
    return std::clamp(std::strtod(number.c_str(), nullptr), -DBL_MAX, DBL_MAX);
}

template <class T>
T Expected(const std::string& text) {
    using Limits = std::numeric_limits<T>;
    if constexpr (std::is_same_v<T, bool>)
        return !text.empty() && text != "0";
    else if constexpr (std::is_floating_point_v<T>)
        return static_cast<T>(std::clamp<double>(DoubleOf(text), -Limits::max(), Limits::max()));
    else if constexpr (std::is_same_v<T, unsigned __int64>)
        return Expected<unsigned int>(text);
    else
        return static_cast<T>(std::clamp<long long>(std::strtoll(text.c_str(), nullptr, 10),
                                                    Limits::min(), Limits::max()));
}

/// The readings of the text in both widths, and of it stored as `type`.
template <class T>
void RequireReading(const String& text, MultiType::TYPE type) {
    const auto reads = [](const MultiType& value, T expected) {
        const T read = value.GetAs<T>();
        return std::memcmp(&read, &expected, sizeof read) == 0;
    };
    MultiType stored(u"before");
    REQUIRE(stored.SetTyped(text, type) && stored.Type() == type);
    REQUIRE(reads(stored, Expected<T>(text)) && reads(text, Expected<T>(text)));
    const String terminated(text.c_str());
    const WString wide(terminated), printed = stored.GetAs<WString>();
    REQUIRE(wide.empty() != terminated.empty() || reads(wide, Expected<T>(terminated)));
    REQUIRE(stored.GetAs<String>() == String(printed));
    REQUIRE(std::is_floating_point_v<T> || reads(printed, Expected<T>(text)));
}

/// Of every type from `TYPE_BOOL` on, in the tags' order.
template <class... Types>
void RequireReadings(const String& text, int tag) {
    (RequireReading<Types>(text, static_cast<MultiType::TYPE>(tag++)), ...);
}

/// What crosses comes back, or its start where the way back needs more room than it has.
template <class Other, class Text>
void RequireWayBack(const Text& text) {
    const Text back{Other(text)};
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
    RequireReadings<bool, char, short, int, __int64, unsigned char, unsigned short, unsigned int,
                    unsigned __int64, float, double>(text, MultiType::TYPE_BOOL);
    MultiType stored(text);
    REQUIRE(stored.SetTyped(text, type));
    RequireWayBack<WString>(text);
    RequireWayBack<String>(WString(ToText<WideChar>(bytes)));
    return 0;
}
