/// Functions on files and directories, by narrow paths. They keep no state, and any thread can call
/// them.
///
/// A path goes to the system as it is, relative to the working directory, and must not be null. The
/// functions that say so ignore one separator, '/' or '\', at its end: `dir/` is `dir`, `dir//` is
/// `dir/`, and a separator alone is an empty path, which names nothing.
///
/// After -1, false, 0 or (-1, -1) on failure, `errno` holds the system's reason; where a function
/// says more, it names the reason. `errno` means nothing after success.
///
/// Rights, owners and users that some signatures take (`mode`, `uid`, `gid`, `owner`, `user`) have
/// no effect, whatever their values.
#ifndef UTILITIES_SERVICES_FILEFUNCTIONS_H
#define UTILITIES_SERVICES_FILEFUNCTIONS_H

#include <utility>

#include "utilities/frame/export.h"
#include "utilities/frame/filestatus.h"

/// Creates the file, readable and writable for its owner, or empties an existing one. True on
/// success. False if it can't be opened for reading and writing, which another user of the file may
/// deny (EACCES), or is a directory (EISDIR); an existing file is then unchanged.
UTILITIES_EXPORT bool CREAT(const char* path, unsigned short mode, int uid, int gid);
UTILITIES_EXPORT bool CREAT(const char* path, unsigned short mode, std::pair<int, int> owner);
UTILITIES_EXPORT bool CREAT(const char* path, unsigned short mode, const char* user);

/// Creates one directory, with all rights that the process's file mode mask leaves. Returns 0, or
/// -1 if nothing was created: something of that name exists, or the directory above is missing or
/// can't be written.
UTILITIES_EXPORT int MKDIR(const char* path, unsigned short mode, int uid, int gid);

/// Does nothing. Both arguments may be null.
UTILITIES_EXPORT void CHMOD(const char* path, const char* mode);

/// Whether a file, directory or anything else of that name exists; links are followed, and a
/// separator at the end is ignored. `info`, unless it is null, receives the status; after false its
/// contents have no meaning.
UTILITIES_EXPORT bool IsFileExisting(const char* path, struct _stat* info = nullptr);

/// Whether the path exists and is a directory (otherwise ENOTDIR), links followed; a separator at
/// the end is ignored.
UTILITIES_EXPORT bool IsDirectoryExisting(const char* path);

/// Removes a file, or a link without its target; a separator at the end is ignored. Returns 0, or
/// -1 on failure; a directory is never removed.
UTILITIES_EXPORT int RemoveFile(const char* path);

/// Removes the file if it exists; a separator at the end is ignored. Returns false only if it
/// exists and can't be removed, which is reported on the standard error stream. `existed`, unless
/// it is null, receives whether it existed. The two steps are not atomic: another thread or process
/// can create or remove the file between them.
UTILITIES_EXPORT bool AssureFileRemoved(const char* path, bool* existed);

/// Time of the last modification in seconds since 1970-01-01 00:00:00 UTC, negative before; 0 if
/// there is no such file, which can be told from a file of that very second by an `errno` that was
/// 0 before.
UTILITIES_EXPORT long getFileMtime(const char* path);

/// Ids of the owning user and group, in this order; (-1, -1) if there is no such file.
UTILITIES_EXPORT std::pair<int, int> getFileUidGid(const char* path);

/// Always (-1, -1), which stands for no such information and is no failure. `user` is not looked at
/// and may be null.
UTILITIES_EXPORT std::pair<int, int> getUserUidGid(const char* user);

#endif
