#include "utilities/platform/descriptors.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

#include "utilities/frame/errno_internal.h"
#include "utilities/platform/linux/files/appending.h"
#include "utilities/platform/linux/files/opening.h"
#include "utilities/platform/linux/files/ownership.h"
#include "utilities/platform/linux/files/readahead.h"
#include "utilities/platform/linux/files/sharing.h"
#include "utilities/platform/linux/sync/retry.h"
#include "utilities/platform/stopdeferral.h"

namespace platform {

namespace {

bool Writes(int flags) { return (flags & (_O_RDWR | _O_TRUNC)) != 0; }

unsigned int SharingOf(int flags, int share) {
    unsigned int sharing = SHARING_READS;
    if (Writes(flags))
        sharing |= SHARING_WRITES;
    if (share == _SH_DENYRW || share == _SH_DENYRD)
        sharing |= SHARING_DENIES_READS;
    if (share == _SH_DENYRW || share == _SH_DENYWR)
        sharing |= SHARING_DENIES_WRITES;
    return sharing;
}

int SystemFlags(int flags) {
    return (Writes(flags) ? O_RDWR : O_RDONLY) | ((flags & _O_APPEND) != 0 ? O_APPEND : 0) |
           ((flags & _O_CREAT) != 0 ? O_CREAT : 0);
}

bool IsRegular(int file) {
    struct stat status;
    return fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

/// Whether all earlier writes to the open file are known to have come through. Only a close tells,
/// and takes the descriptor with it nevertheless, so a copy is closed in its place. Where there is
/// no number left for a copy, nobody can tell.
bool IsWrittenOut(int file) {
    for (;;) {
        const int copy = fcntl(file, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        if (copy < 0)
            return errno != EBADF;
        if (close(copy) == 0)
            return true;
        if (errno != EINTR)
            return false;
    }
}

/// Writes all, in as many calls as it takes, and counts in `done`. False on failure.
bool WriteAll(int file, const void* buffer, unsigned int size, std::int64_t offset,
              unsigned int& done) {
    const char* const bytes = static_cast<const char*>(buffer);
    do {
        const ssize_t written = Uninterrupted([&] {
            return offset == AT_END ? write(file, bytes + done, size - done)
                                    : pwrite(file, bytes + done, size - done, offset + done);
        });
        if (written < 0)
            return false;
        done += static_cast<unsigned int>(written);
    } while (done < size);
    return true;
}

bool IsTooLong(unsigned int size) { return size > INT_MAX && !FailWith(EINVAL); }

}  // namespace

int _sopen(const char* path, int flags, int share, int permission) {
    const StopDeferral untilEntered;
    const int file = OpenNoDirectory(path, SystemFlags(flags), permission);
    if (file < 0)
        return -1;
    const unsigned int sharing = SharingOf(flags, share);
    const Entry entry = EnterOpener(file, sharing);
    if (entry != Entry::REFUSED && ((flags & _O_TRUNC) == 0 || EmptyFile(file))) {
        const bool isAlone = entry == Entry::DONE && (sharing & SHARING_DENIES_WRITES) != 0;
        BeginReadAhead(file, isAlone && IsRegular(file));
        return file;
    }
    CloseReleasingLocks(file);
    return -1;
}

int _open(const char* path, int flags, int permission) {
    return _sopen(path, flags, _SH_DENYNO, permission);
}

int _close(int file) {
    if (!IsWrittenOut(file))
        return -1;
    CloseUnchecked(file);
    return 0;
}

void CloseUnchecked(int file) {
    EndReadAhead(file);
    CloseReleasingLocks(file);
}

std::int64_t GetLength(int file) { return lseek(file, 0, SEEK_END); }

int ReadAt(int file, void* buffer, unsigned int size, std::int64_t offset) {
    if (IsTooLong(size))
        return -1;
    if (ReadAhead(file, buffer, size, offset))
        return static_cast<int>(size);
    unsigned int done = 0;
    for (;;) {
        const ssize_t got = Uninterrupted([&] {
            return pread(file, static_cast<char*>(buffer) + done, size - done, offset + done);
        });
        if (got < 0)
            return -1;
        done += static_cast<unsigned int>(got);
        if (got == 0 || done == size)
            return static_cast<int>(done);
    }
}

int WriteAt(int file, const void* buffer, unsigned int size, std::int64_t offset) {
    const ScopedWrite write(file);
    unsigned int done = 0;
    const bool isWritten = !IsTooLong(size) && WriteAll(file, buffer, size, offset, done);
    return isWritten ? static_cast<int>(size) : -1;
}

int AppendAt(int file, const void* buffer, unsigned int size, std::int64_t offset) {
    if (IsTooLong(size))
        return -1;
    const ScopedWrite write(file);
    const std::int64_t length = offset == AT_END ? 0 : GetLength(file);
    unsigned int done = 0;
    if (WriteAll(file, buffer, size, offset, done))
        return static_cast<int>(size);
    if (done > 0 && offset != AT_END)
        TakeBack(file, length, std::max(length, offset + done));
    else if (done > 0) {
        const ScopedErrno untilDone;
        const std::int64_t end = lseek(file, 0, SEEK_CUR);  // Where the part that fit has ended.
        TakeBack(file, end - done, end);
    }
    return -1;
}

}  // namespace platform
