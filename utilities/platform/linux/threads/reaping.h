/// Giving back what is left of threads that have exited.
#ifndef UTILITIES_PLATFORM_LINUX_THREADS_REAPING_H
#define UTILITIES_PLATFORM_LINUX_THREADS_REAPING_H

#include "utilities/platform/linux/threads/record.h"

namespace platform {

/// Waits until the thread has exited and the system has taken it back. False once the time is up,
/// or when the calling thread must end.
bool JoinUntil(ThreadRecord& record, const Deadline& deadline);

/// Hands the record of the calling thread, which exits, to those that reap.
void AddExited(ThreadRecord& record);

/// Joins the threads that have exited since, as far as that takes no wait. Called by whatever
/// starts, ends or waits for threads, so that nothing heaps up.
void ReapExited();

/// A thread without a handle must be waited for at the unload. Both happen once to a thread, in any
/// order.
void OnHandleClosed(ThreadRecord& record);
void OnExit(ThreadRecord& record);

/// At the unload: none of the threads may still run code of the library. Those without a handle are
/// given a second to end, as their owners take them for ended.
void JoinAll();

}  // namespace platform

#endif
