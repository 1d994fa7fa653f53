/// The status log: a short text in "./vy-current-status" that tells how far a program has come,
/// and in "./vy-last-stop-status" what its previous run left.
///
/// Each call opens the file, writes and closes it, so nothing stays in the process's buffers;
/// nothing forces it to the disk either. The files are in the working directory of the moment and
/// hold the characters as given; nothing marks their end.
///
/// Failures are silent: if a file can't be opened, the call has no further effect, and a full disk
/// cuts the text. No lock is taken: calls on several threads can interleave, and `VYStatusLogWrite`
/// can empty the file during another thread's `VYStatusLogAppend`. The functions can be called at
/// any time while the library is loaded, from destructors of static objects too.
#ifndef UTILITIES_FRAME_STATUSLOG_H
#define UTILITIES_FRAME_STATUSLOG_H

#include "utilities/frame/export.h"

/// Begins a run: an existing current file replaces the last-stop file, and a new current file is
/// written with the five letters of "Start" and a zero byte. If the old file can't be moved, its
/// content is lost.
UTILITIES_EXPORT void VYStatusLogStart();

/// Replaces the current file's content by `text`, without its terminating zero and without a
/// newline. `text` must not be null.
UTILITIES_EXPORT void VYStatusLogWrite(const char* text);

/// Adds a newline and then `text` to the current file, which is created if it is missing.
/// `text` must not be null.
UTILITIES_EXPORT void VYStatusLogAppend(const char* text);

#endif
