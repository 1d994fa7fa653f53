/// Semaphores and events as states of a slot. What is given while threads wait goes to one of them
/// at once, so that it can't be given twice nor be lost.
#ifndef UTILITIES_PLATFORM_LINUX_COUNTED_H
#define UTILITIES_PLATFORM_LINUX_COUNTED_H

#include <cstdint>

#include "utilities/platform/linux/handles.h"

namespace platform {

/// An event's state; a semaphore's is the number of its units.
inline constexpr std::uint32_t EVENT_SET = 1;
inline constexpr std::uint32_t EVENT_MANUAL = 2;

std::uint32_t WaitForCounted(Slot& slot, std::uint64_t tag, std::uint32_t milliseconds);

/// Of a semaphore. False beyond its maximum.
bool ReturnUnit(Slot& slot, std::uint64_t tag);

/// Of an event.
bool Set(Slot& slot, std::uint64_t tag);
bool Reset(Slot& slot, std::uint64_t tag);

}  // namespace platform

#endif
