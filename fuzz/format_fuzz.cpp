// The formatter in both widths against the host's, with arguments that the format matches.
#include <bit>
#include <clocale>
#include <cmath>

#include "fuzz/input.h"

namespace {

template <class Text, class Value>
void RequirePrinted(const Text& format, Value value, bool fits, const std::string& expected) {
    Text printed(u"kept");
    REQUIRE(printed.Format(format.c_str(), value) == fits);
    REQUIRE(std::equal(
        printed.begin(), printed.end(), expected.begin(), expected.end(), [](auto unit, char byte) {
            return unit == static_cast<decltype(unit)>(static_cast<unsigned char>(byte));
        }));
}

/// The values stand for one argument: of the host and the narrow call, and of the wide one.
template <class Narrow, class Wide>
void RequireAsHost(const String& format, Narrow narrow, Wide wide) {
    constexpr int LIMIT = 1024;
    static char buffer[LIMIT + 1];
    const int length = std::snprintf(buffer, sizeof buffer, format.c_str(), narrow);
    const bool fits = length >= 0 && length <= LIMIT;
    const std::string expected =
        fits ? std::string(buffer, static_cast<std::size_t>(length)) : "kept";
    RequirePrinted(format, narrow, fits, expected);
    RequirePrinted(WString(format), wide, fits, expected);
}

/// A conversion up to its length modifier.
String TakeHead(FuzzedDataProvider& input) {
    const auto count = [&input] {
        const int most = input.PickValueInArray({2, 30, 1200});
        return std::to_string(input.ConsumeIntegralInRange(1, most));
    };
    String head("%");
    for (const char flag : {'-', '+', ' ', '#', '0'})
        head.append(input.ConsumeBool(), flag);
    if (input.ConsumeBool())
        head += count();
    if (input.ConsumeBool())
        head += '.' + count();
    return head;
}

void TryNumber(FuzzedDataProvider& input, const String& head, char type) {
    const bool isSmall = input.ConsumeBool();
    const auto bits = isSmall ? input.ConsumeIntegralInRange<long long>(-99, 99)
                              : input.ConsumeIntegral<long long>();
    if (std::strchr("diouxX", type) != nullptr) {
        const std::string size = input.PickValueInArray({"", "hh", "h", "l", "ll", "j", "z", "t"});
        const auto low = static_cast<int>(bits);
        if (size.empty() || size[0] == 'h')
            return RequireAsHost(head + size + type, low, low);
        return RequireAsHost(head + size + type, bits, bits);
    }
    const int exponent = input.ConsumeIntegralInRange(-16600, 16600) / (isSmall ? 1000 : 1);
    const long double product = std::ldexp(static_cast<long double>(bits), exponent);
    if (input.ConsumeBool())
        return RequireAsHost(head + 'L' + type, product, product);
    const auto value = isSmall ? static_cast<double>(product) : std::bit_cast<double>(bits);
    RequireAsHost(head + type, value, value);
}

/// Text of the other width crosses whole and back; with any width and precision it is no harm.
void TryCrossing(FuzzedDataProvider& input, const String& head) {
    const WString wide(TakeText<WideChar>(input, 600));
    String narrow;
    WString back;
    narrow.Format((head + 'S').c_str(), wide.c_str());
    back.Format(WString(head + 'S').c_str(), narrow.c_str());
    if (narrow.Format("%S", wide.c_str()))
        REQUIRE(back.Format(u"%S", narrow.c_str()) && back == wide.c_str());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool isSet = std::setlocale(LC_ALL, "C.utf8") != nullptr;
    REQUIRE(isSet);
    FuzzedDataProvider input(data, size);
    const char type = input.PickValueInArray(
        {'d', 'i', 'o', 'u', 'x', 'X', 'e', 'E', 'f', 'F', 'g', 'G', 'a', 'A', 'c', 'p', 's', 'S'});
    const String head = TakeHead(input);
    if (type == 's') {
        const String text = Terminated(TakeText<char>(input, 1100));
        const std::u16string wide(text.begin(), text.end());
        if (text.IsASCII())
            RequireAsHost(head + type, text.c_str(), wide.c_str());
    } else if (type == 'S') {
        TryCrossing(input, head);
    } else if (type == 'c' || type == 'p') {
        const auto value = input.ConsumeIntegral<unsigned char>();
        if (type == 'c')
            RequireAsHost(head + type, int{value}, int{value});
        else
            RequireAsHost(head + type, reinterpret_cast<void*>(value),
                          reinterpret_cast<void*>(value));
    } else {
        TryNumber(input, head, type);
    }
    return 0;
}
