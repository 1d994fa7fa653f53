/// Priorities as nice values.
#ifndef UTILITIES_PLATFORM_LINUX_THREADS_THREADPRIORITY_H
#define UTILITIES_PLATFORM_LINUX_THREADS_THREADPRIORITY_H

namespace platform {

struct ThreadRecord;

/// Sets the priority of a thread that has just been made: it would start with its creator's.
void StartWithNormalPriority(ThreadRecord& record);

}  // namespace platform

#endif
