/// Functions on files and directories, compression, and small functions that stand alone. They keep
/// no state and all can be called from any thread. No text given to them may be null except where
/// that is said.
///
/// Paths are narrow and name a file as they are, but for one thing: the functions that say so
/// ignore one separator, '/' or '\', at the end (`dir//` is `dir/`, and a separator alone an empty
/// path, which names nothing). Some signatures have room for rights, owners and users; these
/// arguments have no effect.
#ifndef UTILITIES_SERVICES_UTILITYFUNCTIONS_H
#define UTILITIES_SERVICES_UTILITYFUNCTIONS_H

#include <utility>

#include "utilities/frame/export.h"
#include "utilities/platform/types.h"

/// Makes the file, readable and writable for its owner, or empties an existing one. False where it
/// can't be opened for reading and emptied; it is then as it was.
UTILITIES_EXPORT bool CREAT(const char* path, unsigned short mode, int uid, int gid);
UTILITIES_EXPORT bool CREAT(const char* path, unsigned short mode, std::pair<int, int> owner);
UTILITIES_EXPORT bool CREAT(const char* path, unsigned short mode, const char* user);

/// Makes one directory. 0, or -1 with nothing made.
UTILITIES_EXPORT int MKDIR(const char* path, unsigned short mode, int uid, int gid);

/// Does nothing.
UTILITIES_EXPORT void CHMOD(const char* path, const char* mode);

/// Whether there is anything of that name, links followed and a separator at the end ignored. Its
/// status goes to `info`, unless that is null; of what doesn't exist it has no meaning.
UTILITIES_EXPORT bool IsFileExisting(const char* path, struct _stat* info = nullptr);

/// Whether it exists and is a directory; a separator at the end is ignored.
UTILITIES_EXPORT bool IsDirectoryExisting(const char* path);

/// Removes a file, or a link and not its target; a separator at the end is ignored. 0, or -1 where
/// that fails: a directory is never removed.
UTILITIES_EXPORT int RemoveFile(const char* path);

/// Removes the file if it exists, a separator at the end ignored. False only where it exists and
/// can't be removed, which is reported on the standard error stream. `existed`, unless it is null,
/// tells whether it was there; nothing guards against another's hand between look and removal.
UTILITIES_EXPORT bool AssureFileRemoved(const char* path, bool* existed);

/// The last modification, in seconds since 1970-01-01 00:00:00 UTC; 0 where there is no such file.
UTILITIES_EXPORT long getFileMtime(const char* path);

/// The ids of the owning user and group, in this order; (-1, -1) where there is no such file.
UTILITIES_EXPORT std::pair<int, int> getFileUidGid(const char* path);

/// Always (-1, -1): no such information. `user` may be null.
UTILITIES_EXPORT std::pair<int, int> getUserUidGid(const char* user);

/// What `ZIP` appends to the name of the file that it writes: ".gz".
UTILITIES_EXPORT const char* getZipfileExtension();

/// Compresses `source` to `destination` with ".gz" appended, by the program `gzip` that the
/// environment's PATH finds. A result that is there already, and not older by whole seconds than
/// the source, is left alone unless `force`; two missing files count as equally old.
///
/// The call takes at most 30 seconds, after which `gzip` is killed and the call fails. An existing
/// result is emptied first and held while `gzip` runs: a second call on it, in this process or
/// another, fails at once and leaves it alone, as does one that can't open it. After any other
/// failure the result doesn't exist. `gzip` is trusted: one that fails in time counts as success,
/// whatever it wrote.
///
/// A blank in the source's path parts it, and `gzip` sees two names. A file is not written onto
/// itself: that fails and leaves it as it was.
///
/// ".gz", or an empty text after a failure, which is reported on the standard error stream, with a
/// second report where there is no result file.
UTILITIES_EXPORT const char* ZIP(const char* source, const char* destination, bool force);

/// Decompresses `source` with ".gz" appended to `destination`, and is like `ZIP` in all else. False
/// where that gives the empty text.
UTILITIES_EXPORT bool UNZIP(const char* source, const char* destination, bool force);

/// The value of the hexadecimal digits, of either letter case, with which `text` begins. No sign,
/// no blank and no 0x is skipped. Without a digit the value is 0; of more than eight digits only
/// the last eight count, unreported. `end`, unless it is null, gets the place of the first
/// character that is no digit. `text` must not be null.
UTILITIES_EXPORT unsigned int HexAToUint(const char* text, const char** end);

/// An entry point without effect: there is no digital output here.
UTILITIES_EXPORT void SetDigOut(bool state);

#endif
