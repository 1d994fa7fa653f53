#include "utilities/platform/linux/files/opening.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "utilities/frame/errno_internal.h"
#include "utilities/platform/linux/sync/retry.h"

namespace platform {

namespace {

void CloseKeepingError(int file) {
    const ScopedErrno untilClosed;
    close(file);
}

}  // namespace

int AboveStandard(int file) {
    if (file < 0 || file > STDERR_FILENO)
        return file;
    const int moved = fcntl(file, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    CloseKeepingError(file);
    return moved;
}

int OpenAtOnce(const char* path, int flags, int permission) {
    // The system answers so too; but the C library's declaration rules a null path out.
    if (path == nullptr) {
        errno = EFAULT;
        return -1;
    }
    const int allFlags = flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    return AboveStandard(
        Uninterrupted([&] { return open(path, allFlags, static_cast<mode_t>(permission)); }));
}

int OpenNoDirectory(const char* path, int flags, int permission) {
    const int file = OpenAtOnce(path, flags, permission);
    if (file < 0)
        return -1;
    struct stat status;
    bool isUsable = fstat(file, &status) == 0;
    if (isUsable && S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        isUsable = false;
    }
    if (isUsable && fcntl(file, F_SETFL, flags) == 0)
        return file;
    CloseKeepingError(file);
    return -1;
}

bool EmptyFile(int file) {
    struct stat status;
    return fstat(file, &status) == 0 && (!S_ISREG(status.st_mode) || ftruncate(file, 0) == 0);
}

}  // namespace platform
