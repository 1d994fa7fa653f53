/// Locks on open files, and the process to which they belong.
///
/// A lock (a locked byte range, a `flock`) belongs to the open file that all copies of a descriptor
/// share: those of a forked child, and those that a child which any thread is just starting has
/// until its exec. A close ends a lock only if it closes the last copy, and an unlock by any copy
/// ends it for all. So every file that takes locks is closed here, and nowhere else: the process
/// that took them gives them up before it closes, any other process only closes.
#ifndef UTILITIES_PLATFORM_LINUX_FILES_OWNERSHIP_H
#define UTILITIES_PLATFORM_LINUX_FILES_OWNERSHIP_H

namespace platform {

/// Makes the calling process the owner of all locks of the open file. Call it before the first lock
/// is taken. On a system that can't note it the locks end with the last copy of the descriptor.
void OwnLocks(int file);

/// Whether the calling process owns the file's locks. False for an inherited copy and for anything
/// that is not open.
bool OwnsLocks(int file);

/// Whether the calling process may take and give up locks of the open file: it is the owner, or the
/// owner is gone, as after a daemon has left its parent, and it becomes the owner now. False for a
/// copy whose owner lives: the file's locks don't keep these two apart. Costs nothing in a process
/// that was not forked.
bool MayLock(int file);

/// Gives up all locks of the open file if the calling process owns them, and closes the descriptor.
/// `errno` stays as it is.
void CloseReleasingLocks(int file);

}  // namespace platform

#endif
