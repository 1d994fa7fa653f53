// Texts stored and read as every number, and converted between the widths, whole and by formats, in
// the "C" locale and in UTF-8; numbers beside the host's printf.
#include <clocale>

#include "fuzz/input.h"

namespace {

/// A converted text comes back, or its start where the way back needs more than its capacity.
template <class Other, class Text>
void RequireWayBack(const Text& text) {
    const Text back{Other(text)};
    REQUIRE(text.compare(0, back.size(), back) == 0);
    REQUIRE(!text.IsASCII() || back == text.c_str());
}

/// With any width and precision nothing is written or read beyond an end.
void TryFormats(const String& narrow, const WString& wide) {
    for (const char* format : {"%S", "%-30.2S", "%1200S", "%.1200S", "%7.600S"}) {
        String().Format(format, wide.c_str());
        WString().Format(WString(format).c_str(), narrow.c_str());
    }
}

/// A number has the digits that the host's printf gives it.
void RequireHostsDigits(double number) {
    for (const char* format : {"%.7e", "%.9f", "%.2f", "%.3g", "%g"}) {
        char host[400];
        std::snprintf(host, sizeof host, format, number);
        String own;
        REQUIRE(own.Format(format, number) && own == host);
        REQUIRE(String(format) != "%g" || MultiType(number).GetAs<String>() == host);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    REQUIRE(std::setlocale(LC_ALL, input.ConsumeBool() ? "C.utf8" : "C") != nullptr);
    MultiType stored(u"before");
    const MultiType::TYPE anyType = TakeTag(input);
    const auto bytes = input.ConsumeRemainingBytes<unsigned char>();
    const String text(ToText<char>(bytes)), terminated(text.c_str());
    REQUIRE(stored.SetTyped(text, anyType));
    const WString wide(terminated);
    const bool converts = String(wide) == terminated;
    // The text reads alike in both widths, and the number has one printed form in both.
    for (int tag = MultiType::TYPE_BOOL; tag <= MultiType::TYPE_DOUBLE && converts; ++tag) {
        const auto type = static_cast<MultiType::TYPE>(tag);
        REQUIRE(stored.SetTyped(terminated, type) && stored.Type() == type);
        REQUIRE(MultiType::compare(stored, terminated, type) == 0);
        REQUIRE(MultiType::compare(stored, wide, type) == 0);
        REQUIRE(stored.GetAs<String>() == String(stored.GetAs<WString>()));
    }
    RequireWayBack<WString>(text);
    const WString units(ToText<WideChar>(bytes));
    RequireWayBack<String>(units);
    TryFormats(text, units);
    if (double number = 0; bytes.size() >= sizeof number) {
        std::memcpy(&number, bytes.data(), sizeof number);
        RequireHostsDigits(number);
    }
    return 0;
}
