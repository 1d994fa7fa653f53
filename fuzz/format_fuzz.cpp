// The formatter in both widths against the host's, with arguments that the format matches.
#include <bit>
#include <clocale>
#include <cmath>
#include <cwchar>
#include <optional>

#include "fuzz/input.h"
#include "utilities/frame/debugline.h"
#include "utilities/platform/surrogates.h"

namespace {

using WideString = std::basic_string<WideChar>;

struct Format {
    std::string literal;     ///< Ahead of the conversion; printed as it stands.
    std::string head;        ///< The conversion up to its length modifier.
    std::vector<int> stars;  ///< The counts that it takes from the arguments, two at most.
    std::string size;        ///< The length modifier.
    char type = 'd';
};

template <class Call, class Value>
int WithStars(const std::vector<int>& stars, Call call, Value value) {
    if (stars.empty())
        return call(value);
    return stars.size() == 1 ? call(stars[0], value) : call(stars[0], stars[1], value);
}

WideString Widened(const std::string& text) {
    WideString wide;
    for (const char c : text)
        wide += static_cast<unsigned char>(c);
    return wide;
}

template <class Text, class Value>
void RequirePrinted(const Text& format, const std::vector<int>& stars, Value value,
                    const std::optional<Text>& expected) {
    Text printed(u"kept");
    const auto print = [&](auto... all) { return int{printed.Format(format.c_str(), all...)}; };
    REQUIRE(WithStars(stars, print, value) == int{expected.has_value()});
    REQUIRE(printed == expected.value_or(Text(u"kept")));
}

/// The three values stand for one argument: of the host and of calls of both widths.
template <class Host, class Narrow, class Wide>
void RequireSame(const Format& format, Host host, Narrow narrow, Wide wide, bool inBothWidths) {
    constexpr std::size_t LIMIT = 1024;
    static char buffer[LIMIT + 1];
    const std::string hostFormat =
        format.head + (format.size == "I64" ? "ll" : format.size) + format.type;
    const auto print = [&](auto... all) {
        return std::snprintf(buffer, sizeof buffer, hostFormat.c_str(), all...);
    };
    const int length = WithStars(format.stars, print, host);
    std::optional<String> expected;
    std::optional<WString> wideExpected;
    if (length >= 0 && format.literal.size() + static_cast<std::size_t>(length) + 2 <= LIMIT) {
        expected = format.literal + std::string(buffer, static_cast<std::size_t>(length)) + "|%";
        wideExpected = Widened(*expected);
    }
    const String text = format.literal + format.head + format.size + format.type + "|%%";
    RequirePrinted(text, format.stars, narrow, expected);
    if (inBothWidths)
        RequirePrinted(WString(Widened(text)), format.stars, wide, wideExpected);
    const auto drop = [&](auto... all) { return printFmtDBGFile(text.c_str(), all...); };
    REQUIRE(WithStars(format.stars, drop, narrow) == int{expected.has_value()});
}

/// A width or precision, as digits or as an argument.
void TakeCount(FuzzedDataProvider& input, Format& format, int least) {
    const int count = input.ConsumeIntegralInRange(least, input.PickValueInArray({2, 30, 1200}));
    if (count >= 0 && input.ConsumeBool()) {
        format.head += std::to_string(count);
    } else {
        format.head += '*';
        format.stars.push_back(count);
    }
}

Format TakeFormat(FuzzedDataProvider& input) {
    Format format;
    format.type = input.PickValueInArray(
        {'d', 'i', 'o', 'u', 'x', 'X', 'e', 'E', 'f', 'F', 'g', 'G', 'a', 'A', 'c', 'p', 's', 'S'});
    // Behind the "%" no letter that would make it a conversion.
    for (const char c : input.ConsumeRandomLengthString(20))
        format.literal += std::strchr("%*diouxXcCsSpneEfFgGaA", c) != nullptr ? 'y' : c;
    if (!format.literal.empty())
        format.literal = '%' + format.literal + 'y';
    format.head = "%";
    for (const char flag : {'-', '+', ' ', '#', '0'}) {
        if (input.ConsumeBool())
            format.head += flag;
    }
    if (input.ConsumeBool())
        TakeCount(input, format, -1200);
    if (input.ConsumeBool()) {
        format.head += '.';
        TakeCount(input, format, -1);
    }
    return format;
}

void TryNumber(FuzzedDataProvider& input, Format& format) {
    const bool isSmall = input.ConsumeBool();
    const auto bits = isSmall ? input.ConsumeIntegralInRange<long long>(-99, 99)
                              : input.ConsumeIntegral<long long>();
    if (std::strchr("diouxX", format.type) != nullptr) {
        format.size = input.PickValueInArray({"", "hh", "h", "l", "ll", "j", "z", "t", "I64"});
        const auto low = static_cast<int>(bits);
        if (format.size.empty() || format.size[0] == 'h')
            return RequireSame(format, low, low, low, true);
        return RequireSame(format, bits, bits, bits, true);
    }
    const int exponent = input.ConsumeIntegralInRange(-16600, 16600) / (isSmall ? 1000 : 1);
    const long double product = std::ldexp(static_cast<long double>(bits), exponent);
    if (input.ConsumeBool()) {
        format.size = "L";
        return RequireSame(format, product, product, product, true);
    }
    const auto value = isSmall ? static_cast<double>(product) : std::bit_cast<double>(bits);
    RequireSame(format, value, value, value, true);
}

/// Text of each call's own width. A null text with a precision is the library's own: the host
/// prints it whole or not at all.
void TryText(FuzzedDataProvider& input, Format& format) {
    const bool null = format.head.find('.') == std::string::npos && input.ConsumeBool();
    const std::string text = Terminated(TakeText<char>(input, 1100));
    const WideString wide = Widened(text);
    const char* const narrow = null ? nullptr : text.c_str();
    RequireSame(format, narrow, narrow, null ? nullptr : wide.c_str(), true);
}

/// Text of the other width: of the host's wide characters some are two units.
void TryCrossing(FuzzedDataProvider& input, Format& format) {
    const WideString units = Terminated(TakeText<WideChar>(input, 600));
    std::wstring points;
    std::string narrow;
    bool isAscii = true;
    for (std::size_t i = 0; i < units.size();) {
        const platform::CodePoint point = platform::ReadUnits(units.c_str() + i);
        points += static_cast<wchar_t>(point.value);
        narrow += static_cast<char>(point.value);
        isAscii = isAscii && point.value <= 0x7F;
        i += point.units;
    }
    RequireSame(format, points.c_str(), units.c_str(), narrow.c_str(), isAscii);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool isSet = std::setlocale(LC_ALL, "C.utf8") != nullptr;
    REQUIRE(isSet);
    FuzzedDataProvider input(data, size);
    Format format = TakeFormat(input);
    if (format.type == 's') {
        TryText(input, format);
    } else if (format.type == 'S') {
        TryCrossing(input, format);
    } else if (format.type == 'c') {
        const int value = input.ConsumeIntegral<unsigned char>();
        RequireSame(format, value, value, value, true);
    } else if (format.type == 'p') {
        const auto* value = reinterpret_cast<const void*>(input.ConsumeIntegral<std::uintptr_t>());
        RequireSame(format, value, value, value, true);
    } else {
        TryNumber(input, format);
    }
    return 0;
}
