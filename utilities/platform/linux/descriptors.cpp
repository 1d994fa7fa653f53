#include "utilities/platform/descriptors.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

#include "utilities/platform/clock.h"
#include "utilities/platform/linux/opening.h"
#include "utilities/platform/linux/retry.h"
#include "utilities/platform/linux/sharing.h"
#include "utilities/platform/threads.h"

namespace platform {

namespace {

constexpr std::uint32_t LONGEST_WAIT = 10000;  // Milliseconds.
constexpr std::uint32_t LONGEST_PAUSE = 20;

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

/// What a failed append has left goes again, if it still is the file's end.
void TakeBack(int file, unsigned int size) {
    const int error = errno;
    const off_t end = lseek(file, 0, SEEK_CUR);
    if (size > 0 && GetLength(file) == end && ftruncate(file, end - size) != 0)
        return;  // The reason is a newer one then.
    errno = error;
}

/// One call's share of a write.
ssize_t WriteSome(int file, const char* bytes, std::size_t size, std::int64_t offset) {
    return Uninterrupted([&] {
        return offset == AT_END ? write(file, bytes, size) : pwrite(file, bytes, size, offset);
    });
}

bool IsTooLong(unsigned int size) {
    if (size > INT_MAX)
        errno = EINVAL;
    return size > INT_MAX;
}

int TryLock(int file, short type, unsigned int size, std::int64_t offset) {
    struct flock range {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = offset;
    range.l_len = size;
    return fcntl(file, F_OFD_SETLK, &range);
}

}  // namespace

int _sopen(const char* path, int flags, int share, int permission) {
    const HoldOff untilEntered;
    const int file = OpenNoDirectory(path, SystemFlags(flags), permission);
    if (file < 0)
        return -1;
    if (!EnterOpener(file, SharingOf(flags, share)) ||
        ((flags & _O_TRUNC) != 0 && !EmptyFile(file))) {
        CloseKeepingError(file);
        return -1;
    }
    return file;
}

int _open(const char* path, int flags, int permission) {
    return _sopen(path, flags, _SH_DENYNO, permission);
}

// The descriptor is gone whatever else the system says.
int _close(int file) { return close(file) == 0 || errno != EBADF ? 0 : -1; }

std::int64_t GetLength(int file) { return lseek(file, 0, SEEK_END); }

int ReadAt(int file, void* buffer, unsigned int size, std::int64_t offset) {
    if (IsTooLong(size))
        return -1;
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
    if (IsTooLong(size))
        return -1;
    unsigned int done = 0;
    do {
        const std::int64_t place = offset == AT_END ? AT_END : offset + done;
        const ssize_t written =
            WriteSome(file, static_cast<const char*>(buffer) + done, size - done, place);
        if (written < 0) {
            if (offset == AT_END)
                TakeBack(file, done);
            return -1;
        }
        done += static_cast<unsigned int>(written);
    } while (done < size);
    return static_cast<int>(size);
}

int _locking(int file, int mode, unsigned int size, std::int64_t offset) {
    if (size == 0)
        return fcntl(file, F_GETFD) >= 0 ? 0 : -1;
    const short type = mode == _LK_LOCK ? F_WRLCK : F_UNLCK;
    const std::uint32_t start = GetTickCount();
    std::uint32_t pause = 1;
    while (TryLock(file, type, size, offset) != 0) {
        const bool isHeld = errno == EAGAIN || errno == EACCES || errno == EINTR;
        if (!isHeld || GetTickCount() - start >= LONGEST_WAIT)
            return -1;
        Sleep(pause);
        pause = std::min(2 * pause, LONGEST_PAUSE);
    }
    return 0;
}

}  // namespace platform
