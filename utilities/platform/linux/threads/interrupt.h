/// The signal by which threads are stopped.
#ifndef UTILITIES_PLATFORM_LINUX_THREADS_INTERRUPT_H
#define UTILITIES_PLATFORM_LINUX_THREADS_INTERRUPT_H

namespace platform {

struct ThreadRecord;

/// Takes a real-time signal that nobody uses, once. False where there is none.
bool ClaimSignal();
/// Gives it back, at the unload.
void ReleaseSignal();
/// Lets the calling thread be stopped even where its creator had blocked all signals.
void UnblockSignal();

/// Sends it to the thread, unless that has exited or the last one is still on its way.
void SendSignal(ThreadRecord& record);

}  // namespace platform

#endif
