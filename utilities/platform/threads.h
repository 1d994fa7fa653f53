/// Starting and leaving threads.
#ifndef UTILITIES_PLATFORM_THREADS_H
#define UTILITIES_PLATFORM_THREADS_H

#include <cstdint>

#include "utilities/platform/waitable.h"

namespace platform {

/// Flag of `_beginthreadex`: the thread runs only after it has been resumed.
inline constexpr unsigned int CREATE_SUSPENDED = 4;

/// Starts a thread in `start(argument)` and stores its id in `id`, before the thread runs. Null on
/// failure, with `id` untouched.
Handle _beginthreadex(unsigned int (*start)(void*), void* argument, unsigned int flags,
                      std::uint32_t* id);

/// Ends the calling thread at once, without running what its frames hold. Its thread-local objects
/// are destroyed, except in a thread that wasn't started here.
[[noreturn]] void _endthreadex(unsigned int exitCode);

}  // namespace platform

#endif
