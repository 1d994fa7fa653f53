/// Holding off and asking for suspensions and kills.
#ifndef UTILITIES_PLATFORM_LINUX_CONTROL_H
#define UTILITIES_PLATFORM_LINUX_CONTROL_H

#include <cstdint>

namespace platform {

struct ThreadRecord;

/// Ends all of the calling thread's, and does what was held off. May not return.
void ReleaseHoldOffs();

/// Gives the count before. COUNT_FAILED for a thread that has ended, and beyond 2^30 - 1.
std::uint32_t AddSuspension(ThreadRecord& record);
std::uint32_t RemoveSuspension(ThreadRecord& record);

}  // namespace platform

#endif
