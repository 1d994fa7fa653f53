#include "tests/fakes/clock.h"

#include <cstdio>

#include "utilities/platform/clock.h"

namespace platform {

std::uint32_t clock() { return fakes::milliseconds; }

std::uint32_t GetTickCount() { return fakes::milliseconds; }

void Sleep(std::uint32_t milliseconds) { std::fprintf(stderr, "pause %u\n", milliseconds); }

}  // namespace platform
