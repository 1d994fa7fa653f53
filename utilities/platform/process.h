/// A program that runs as a child process with its standard output in a file. Any thread can call
/// the operations; one object is used by one thread at a time.
#ifndef UTILITIES_PLATFORM_PROCESS_H
#define UTILITIES_PLATFORM_PROCESS_H

#include <cstdint>

#include "utilities/platform/waitable.h"

namespace platform {

/// A started child.
struct Process {
    int descriptor = -1;  ///< -1: the child has ended, and nothing of it is left.
};

/// Starts the program that the first word of `commandLine` names, found by the environment's PATH,
/// with the other words as its arguments. Words are separated by blanks; there is no shell, and no
/// quote has a meaning. The text of `commandLine` is changed. The child has `output` as its
/// standard output, an empty standard input, a standard error that is discarded, and no other
/// descriptor; no signal is blocked in it, and SIGPIPE is not ignored. Returns false if the program
/// is not found, can't be executed or can't be started.
bool CreateProcessA(char* commandLine, int output, Process& process);

/// Waits at most `milliseconds`, on the monotonic clock, for the child's end. Returns
/// WAIT_OBJECT_0, WAIT_TIMEOUT or WAIT_FAILED. No signal ends the wait early. Children of the child
/// are not waited for.
///
/// Made for a caller that keeps what it owns under a `StopDeferral` and a `CancelDeferral`: with
/// one of each, a suspension takes place in here, a kill makes the wait fail at once, and a
/// cancellation leaves it as an exception does. So the caller can clean up in each case.
std::uint32_t WaitForSingleObject(const Process& process, std::uint32_t milliseconds);

/// Kills the child, without waiting for its end.
void TerminateProcess(const Process& process);

/// Waits up to 2 seconds for the child's end, removes it from the system and closes the descriptor.
/// A child that can't end, as it sleeps in a device that doesn't answer, is removed by a later
/// `CreateProcessA`. Other children of the caller are not touched.
void CloseHandle(Process& process);

}  // namespace platform

#endif
