#include "utilities/platform/linux/files/rangelock.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "utilities/platform/linux/sync/retry.h"

namespace platform {

namespace {

struct flock Description(short type, const ByteRange& range) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = range.start;
    lock.l_len = range.size;
    return lock;
}

}  // namespace

bool SetLock(int file, short type, const ByteRange& range) {
    struct flock lock = Description(type, range);
    return Uninterrupted([&] { return fcntl(file, F_OFD_SETLK, &lock); }) == 0;
}

bool IsHeldElsewhere(int error) { return error == EAGAIN || error == EACCES; }

bool IsLockedElsewhere(int file, const ByteRange& range) {
    struct flock lock = Description(F_WRLCK, range);
    return fcntl(file, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

}  // namespace platform
