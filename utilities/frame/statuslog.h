/// The status log: a short text in "./vy-current-status" that tells how far a program has come,
/// and in "./vy-last-stop-status" what its previous run left.
///
/// Each call opens the file, writes and closes it, so nothing stays in the process's buffers. The
/// files lie in the working directory and hold the characters as given; nothing marks their end.
///
/// Failures are silent: a file that can't be opened means that the call has no further effect.
/// No lock is taken: of calls on several threads the file gets what their order on disk gives.
#ifndef UTILITIES_FRAME_STATUSLOG_H
#define UTILITIES_FRAME_STATUSLOG_H

#include "utilities/frame/export.h"

/// Begins a run: an existing current file replaces the last-stop file, and a new current file is
/// written, the five letters of "Start" and a zero byte. Where the old file can't be moved its
/// content is lost.
UTILITIES_EXPORT void VYStatusLogStart();

/// Replaces the current file's content by `text`, without its terminating zero and without a
/// newline. `text` must not be null.
UTILITIES_EXPORT void VYStatusLogWrite(const char* text);

/// Adds a newline and then `text` to the current file, which is created where it is missing.
/// `text` must not be null.
UTILITIES_EXPORT void VYStatusLogAppend(const char* text);

#endif
