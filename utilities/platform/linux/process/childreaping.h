/// Removing children that have ended from the system.
#ifndef UTILITIES_PLATFORM_LINUX_PROCESS_CHILDREAPING_H
#define UTILITIES_PLATFORM_LINUX_PROCESS_CHILDREAPING_H

#include <sys/wait.h>

namespace platform {

/// A child by its descriptor (P_PIDFD), which belongs to the object's user, or by its id (P_PID).
struct Child {
    idtype_t kind;
    int id;
};

/// Reaps the child and closes its descriptor. Waits up to 2 seconds for its end; a child that lives
/// on is reaped by `ReapLateChildren`.
void ReapChild(Child child);

/// Reaps the children that had not ended in time and have ended since.
void ReapLateChildren();

}  // namespace platform

#endif
