/// What all opens of files and devices have in common.
#ifndef UTILITIES_PLATFORM_LINUX_FILES_OPENING_H
#define UTILITIES_PLATFORM_LINUX_FILES_OPENING_H

namespace platform {

/// Moves a descriptor that has just been made out of the standard ones, which are given out where a
/// program has closed them: what the process prints would land in the file. Returns the descriptor,
/// closed on exec, as it is or under another number; -1 with `errno` set on failure, and then it is
/// closed. -1 stays -1.
int AboveStandard(int file);

/// Opens without waiting for anybody: a terminal doesn't become the process's, a pipe needs no
/// other end. `flags` are the system's; O_CLOEXEC, O_NOCTTY and O_NONBLOCK are added. Interrupted
/// opens are repeated, and the descriptor is above the standard ones. -1 with `errno` set on
/// failure.
int OpenAtOnce(const char* path, int flags, int permission = 0);

/// The same, refuses directories, and later reads and writes wait unless `flags` say otherwise.
int OpenNoDirectory(const char* path, int flags, int permission);

/// Empties a file. Success without effect for anything that is not a regular file, as a device.
bool EmptyFile(int file);

}  // namespace platform

#endif
