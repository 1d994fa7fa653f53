/// Where a thread was interrupted.
#ifndef UTILITIES_PLATFORM_LINUX_CODEPLACE_H
#define UTILITIES_PLATFORM_LINUX_CODEPLACE_H

namespace platform {

/// Finds the libraries whose code holds locks that all threads need: the heap's, the loader's.
/// Called once, before the first `IsStoppable`.
void FindRuntimeLibraries();

/// Whether a thread that a signal interrupted there can be stopped for good: outside those
/// libraries, or in a system call that blocks. `context` is the handler's third argument. For
/// signal handlers.
bool IsStoppable(const void* context);

}  // namespace platform

#endif
