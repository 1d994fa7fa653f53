/// Locks on parts of open files, between all openers that ask for them, in one process or in many.
///
/// They are advisory: reads and writes go on, whatever is locked. A lock ends when it is given up,
/// when the process that took it closes the file, or when that process ends. In a forked child the
/// locks of an inherited file are the parent's: as long as the parent lives the child can neither
/// give them up nor take any. All operations can be called from any thread.
#ifndef UTILITIES_PLATFORM_FILELOCKS_H
#define UTILITIES_PLATFORM_FILELOCKS_H

#include <cstdint>
#include <optional>

#include "utilities/platform/stopdeferral.h"

namespace platform {

/// The modes of `_locking`.
inline constexpr int _LK_UNLCK = 0;  ///< Gives a lock up.
inline constexpr int _LK_LOCK = 1;   ///< Waits up to 10 seconds while another opener has it.
inline constexpr int _LK_NBLCK = 2;  ///< Doesn't wait.

/// Locks `size` bytes from `offset` on for this opener alone, or gives them up. The bytes need not
/// exist; a lock of 0 bytes succeeds without effect. Returns 0, or -1: another opener has it, the
/// file is not open for writing, or its file system has no locks.
///
/// Waiters have a queue, so that an opener that takes a lock again and again doesn't keep the
/// others from it.
int _locking(int file, int mode, unsigned int size, std::int64_t offset);

/// Holds the lock on a file's end, which whoever moves the end must have: from finding out where it
/// is until the write is complete, or taken back. Waits for it up to 10 seconds. The calling thread
/// can't be stopped while it holds it.
class ScopedFileEnd {
public:
    /// Without effect if `isShared` is false, because nobody else writes to the file.
    ScopedFileEnd(int file, bool isShared);
    ~ScopedFileEnd();
    ScopedFileEnd(const ScopedFileEnd&) = delete;
    ScopedFileEnd& operator=(const ScopedFileEnd&) = delete;

    /// False, with EAGAIN in `errno`, if another opener had it all the time. A file system without
    /// locks is like a file that isn't shared.
    bool MayMove() const { return m_MayMove; }

private:
    std::optional<StopDeferral> m_Deferral;  // Ends last.
    const int m_File;
    bool m_IsLocked = false;
    bool m_MayMove = true;
};

}  // namespace platform

#endif
