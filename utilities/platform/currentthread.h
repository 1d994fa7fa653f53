/// The calling thread.
#ifndef UTILITIES_PLATFORM_CURRENTTHREAD_H
#define UTILITIES_PLATFORM_CURRENTTHREAD_H

#include <cstdint>

namespace platform {

/// The calling thread's id: the kernel's, never 0. In the child of a fork it is a new one.
std::uint32_t GetCurrentThreadId();

/// Sets the calling thread's name in the system's own tools, which show its first 15 bytes.
void SetCurrentThreadName(const char* name);

}  // namespace platform

#endif
