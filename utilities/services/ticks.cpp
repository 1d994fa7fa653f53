#include "utilities/services/ticks.h"

#include "utilities/platform/clock.h"

void BqSleep(unsigned int milliseconds) { platform::Sleep(milliseconds); }

unsigned int GetSystemTickCount() { return platform::GetTickCount(); }

unsigned int CalculateTicksDifference(unsigned int newer, unsigned int older) {
    return newer - older;
}
