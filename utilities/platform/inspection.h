/// What a debugger reads of this layer, live or in a core file. Found by way of
/// `threads/inspection_internal.h`.
#ifndef UTILITIES_PLATFORM_INSPECTION_H
#define UTILITIES_PLATFORM_INSPECTION_H

#include <atomic>
#include <cstdint>

namespace platform {

/// The table of the objects that threads wait for.
struct InspectedHandles {
    const void* chunks;
    const void* used;
};
extern const InspectedHandles inspectedHandles;

/// When the process started, in milliseconds. 0 before the first call of `clock`.
struct ProcessStart {
    std::atomic<std::int64_t> monotonic;   ///< On the coarse monotonic clock.
    std::atomic<std::int64_t> onCalendar;  ///< Since 1970, as the system's clock was set then.
};
extern ProcessStart processStart;

}  // namespace platform

#endif
