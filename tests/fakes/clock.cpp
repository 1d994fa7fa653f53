#include "tests/fakes/clock.h"

#include <cstdio>
#include <utility>

#include "utilities/platform/clock.h"
#include "utilities/platform/inspection.h"

namespace platform {

ProcessStart processStart{};

std::uint32_t clock() {
    if (const auto happens = std::exchange(fakes::atReading, nullptr))
        happens();
    return fakes::milliseconds;
}

std::uint32_t GetTickCount() { return fakes::milliseconds; }

void Sleep(std::uint32_t milliseconds) { std::fprintf(stderr, "pause %u\n", milliseconds); }

}  // namespace platform
