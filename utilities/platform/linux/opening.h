/// What every open has in common.
#ifndef UTILITIES_PLATFORM_LINUX_OPENING_H
#define UTILITIES_PLATFORM_LINUX_OPENING_H

namespace platform {

/// Opens what is no directory, closed on exec: a terminal doesn't become the process's, and a pipe
/// without its other end holds nobody up. -1 with `errno` set on failure.
int OpenNoDirectory(const char* path, int flags, int permission);

/// Empties a file. What is no plain file, as a device, has nothing to be taken.
bool EmptyFile(int file);

/// Closes, and leaves `errno` as the failure before has set it.
void CloseKeepingError(int file);

}  // namespace platform

#endif
