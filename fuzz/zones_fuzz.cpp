// Zone files and texts of TZ: whatever they hold, there is a zone, and its conversions agree.
#include "fuzz/input.h"
#include "tests/support/platform_zone.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const bool isFile = input.ConsumeBool();
    const auto instant = input.ConsumeIntegralInRange<std::int32_t>(0, 0x7FFFFFFF);
    const std::string text = input.ConsumeRemainingBytesAsString();
    if (isFile)
        REQUIRE(SetZoneBytes(text));
    else
        SetZone(text.c_str());
    for (const std::int32_t seconds : {instant, 0, 0x7FFFFFFF})
        REQUIRE(*ConversionFault(seconds) == '\0');
    for (std::int64_t seconds = instant % 20'000'000; seconds < 0x7FFFFFFF; seconds += 20'000'000)
        REQUIRE(*ConversionFault(static_cast<std::int32_t>(seconds)) == '\0');
    return 0;
}
