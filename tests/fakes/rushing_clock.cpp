#include "utilities/platform/clock.h"

namespace platform {

namespace {

std::uint32_t now = 0xFFFFFF00;  // About to wrap.

}  // namespace

std::uint32_t clock() { return now; }

std::uint32_t GetTickCount() { return now; }

/// Over at once.
void Sleep(std::uint32_t milliseconds) { now += milliseconds; }

}  // namespace platform
