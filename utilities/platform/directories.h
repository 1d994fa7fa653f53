/// Entries of directories. Paths go to the system as they are; none may be null. All operations can
/// be called from any thread.
#ifndef UTILITIES_PLATFORM_DIRECTORIES_H
#define UTILITIES_PLATFORM_DIRECTORIES_H

namespace platform {

/// Makes one directory, with all rights that the process's mask leaves. 0, or -1 with nothing made:
/// something of that name exists, the folder above is missing or may not be written.
int _mkdir(const char* path);

/// Removes a file, or a link and not what it leads to; a directory never. 0, or -1 with nothing
/// removed. This system removes a file also while somebody has it open, and one that may not be
/// written: the folder's rights count.
int remove(const char* path);

/// Removes a plain file or a link, and nothing else: a device or a pipe stays. False where nothing
/// was removed.
bool DeleteFileA(const char* path);

}  // namespace platform

#endif
