// Floating numbers in both widths against the host's, and text of the other width.
#include <clocale>
#include <cmath>

#include "fuzz/input.h"

namespace {

template <class Value>
void RequireAsHost(const String& format, Value value) {
    constexpr int LIMIT = 1024;
    char host[LIMIT + 1];
    const bool fits = std::snprintf(host, sizeof host, format.c_str(), value) <= LIMIT;
    const String expected(fits ? host : "kept");
    String narrow("kept");
    WString wide("kept");
    REQUIRE(narrow.Format(format.c_str(), value) == fits && narrow == expected);
    REQUIRE(wide.Format(WString(format).c_str(), value) == fits && wide == WString(expected));
}

/// A conversion up to its length modifier.
String TakeHead(FuzzedDataProvider& input) {
    String head("%");
    for (const char flag : {'-', '+', ' ', '#', '0'})
        head.append(input.ConsumeBool(), flag);
    for (const char* before : {"", "."}) {
        const int most = input.PickValueInArray({0, 2, 30, 1200});
        if (most > 0)
            head += before + std::to_string(input.ConsumeIntegralInRange(1, most));
    }
    return head;
}

void TryFloat(FuzzedDataProvider& input, const String& head) {
    const char type = input.PickValueInArray({'e', 'E', 'f', 'F', 'g', 'G', 'a', 'A'});
    const int scale = input.PickValueInArray({1, 15, 1000});
    const int exponent = input.ConsumeIntegralInRange(-16600, 16600) / scale;
    const auto digits = static_cast<long double>(input.ConsumeIntegral<long long>());
    const long double value = std::ldexp(digits, exponent);
    RequireAsHost(head + 'L' + type, value);
    RequireAsHost(head + type, static_cast<double>(value));
}

/// Whole text comes back as it was; with any width and precision nothing is written or read beyond
/// an end.
void TryText(FuzzedDataProvider& input, const String& head) {
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
    const auto attempt = input.PickValueInArray({TryFloat, TryText});
    attempt(input, TakeHead(input));
    return 0;
}
