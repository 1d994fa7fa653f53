/// Priorities as nice values.
#ifndef UTILITIES_PLATFORM_LINUX_PRIORITY_H
#define UTILITIES_PLATFORM_LINUX_PRIORITY_H

namespace platform {

struct ThreadRecord;

/// A thread would start with its creator's.
void StartWithNormalPriority(ThreadRecord& record);

}  // namespace platform

#endif
