/// A program that runs as a child, its standard output in a file. All operations can be called from
/// any thread; an object is one thread's at a time.
#ifndef UTILITIES_PLATFORM_PROCESS_H
#define UTILITIES_PLATFORM_PROCESS_H

#include <cstdint>

#include "utilities/platform/waitable.h"

namespace platform {

/// Opens the file for writing, made where it is missing, and empties it. It is held without sharing
/// until the descriptor and all copies that children have of it are closed: meanwhile a second call
/// on it fails, in this process or another, and so does an opener that cares about share modes.
/// What is no plain file (a device, a pipe) is neither held nor emptied; a pipe that nobody reads
/// fails. Give the descriptor to `_close`. -1 on failure, with an existing file as it was.
int CreateOutputFile(const char* path);

/// A started child.
struct Process {
    int descriptor = -1;  ///< -1: nothing is left of it.
};

/// Starts the program that the first word of `commandLine` names, which is looked for as the
/// environment's PATH tells, with the words behind it as its arguments. Blanks part words, no shell
/// and no quote has a meaning, and the line is changed. The child has `output` as its standard
/// output, an empty standard input, a standard error that goes nowhere, and no other descriptor. No
/// signal is blocked in it, nor that of a broken pipe ignored. False where the program is not
/// found, may not be executed or can't be started.
bool CreateProcessA(char* commandLine, int output, Process& process);

/// Waits at most `milliseconds`, on the monotonic clock, for the child's end: WAIT_OBJECT_0,
/// WAIT_TIMEOUT or WAIT_FAILED. No signal ends it early, and what the child started itself isn't
/// waited for.
std::uint32_t WaitForSingleObject(const Process& process, std::uint32_t milliseconds);

/// Kills the child, and doesn't wait for its end.
void TerminateProcess(const Process& process);

/// Collects the child, so that nothing of it stays with the system, and gives the descriptor back.
/// Waits for one that still runs. Other children of the caller are left alone.
void CloseHandle(Process& process);

}  // namespace platform

#endif
