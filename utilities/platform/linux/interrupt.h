/// The signal by which threads are stopped.
#ifndef UTILITIES_PLATFORM_LINUX_INTERRUPT_H
#define UTILITIES_PLATFORM_LINUX_INTERRUPT_H

namespace platform {

struct ThreadRecord;

/// Takes a signal that nobody uses, once. False where there is none.
bool ClaimSignal();
/// Gives it back.
void ReleaseSignal();
/// Lets the calling thread be stopped even where its creator had blocked all signals.
void UnblockSignal();

/// Sends it to the thread, unless it has been joined or the last one is still on its way.
void SendSignal(ThreadRecord& record);

/// Stays here while the calling thread, whose record it is, is suspended and not killed.
void Park(ThreadRecord& record);

}  // namespace platform

#endif
