/// Compression of single files by the program `gzip`, which the environment's PATH must find.
///
/// The calls keep no state, and any thread can make them; calls on different files run side by
/// side. No argument may be null.
///
/// A thread that is killed or cancelled in a call ends `gzip` and leaves no result file. In the
/// child of a fork a call that another thread of the parent makes doesn't exist.
#ifndef UTILITIES_SERVICES_COMPRESSION_H
#define UTILITIES_SERVICES_COMPRESSION_H

#include "utilities/frame/export.h"

/// The extension of compressed files, ".gz".
UTILITIES_EXPORT const char* getZipfileExtension();

/// Compresses the file `source` to `destination` + ".gz" and keeps the source. Returns ".gz", or an
/// empty text on failure; never null.
///
/// Without `force` an existing result that is as new as the source or newer, in whole seconds, is
/// kept, and the call succeeds without running anything. Two missing files count as equally old.
///
/// The call takes at most about 30 seconds: then `gzip` is killed and the call fails. The result
/// file is emptied first and locked until the call returns: another call on it, in this process or
/// another, fails at once and leaves it unchanged, and so does a call that can't open it. After any
/// other failure the result file doesn't exist. A file is not compressed onto itself: such a call
/// fails and changes nothing. A failure is reported on the standard error stream, with a second
/// report if the result file doesn't exist.
///
/// After a failure `errno` holds the reason: the system's, for which the result file could not be
/// opened or `gzip` not be started (ENOENT if there is no `gzip`); EBUSY if another call has the
/// result file; EINVAL if it is the source; ETIMEDOUT after the 30 seconds.
///
/// The exit status of `gzip` is not looked at: if it fails in time, the call succeeds, and the
/// result is whatever was written, often an empty file, which then counts as up to date. So look at
/// the result before you remove a source.
///
/// The path goes into the command line unquoted: a blank in it splits it into two names, and a path
/// that begins with '-' is taken as an option. Write `./-name` for such a file.
UTILITIES_EXPORT const char* ZIP(const char* source, const char* destination, bool force);

/// Decompresses the file `source` + ".gz" to `destination`. Returns true on success. In everything
/// else like `ZIP`.
UTILITIES_EXPORT bool UNZIP(const char* source, const char* destination, bool force);

#endif
