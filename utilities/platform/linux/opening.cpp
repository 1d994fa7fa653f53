#include "utilities/platform/linux/opening.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "utilities/platform/linux/retry.h"

namespace platform {

int OpenNoDirectory(const char* path, int flags, int permission) {
    const int openFlags = flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    const int file =
        Uninterrupted([&] { return open(path, openFlags, static_cast<mode_t>(permission)); });
    if (file < 0)
        return -1;
    struct stat status;
    int error = fstat(file, &status) != 0 ? errno : 0;
    if (error == 0 && S_ISDIR(status.st_mode))
        error = EISDIR;
    // Only the opening was not to wait.
    if (error == 0 && fcntl(file, F_SETFL, flags) != 0)
        error = errno;
    if (error == 0)
        return file;
    close(file);
    errno = error;
    return -1;
}

bool EmptyFile(int file) {
    struct stat status;
    return fstat(file, &status) == 0 && (!S_ISREG(status.st_mode) || ftruncate(file, 0) == 0);
}

void CloseKeepingError(int file) {
    const int error = errno;
    close(file);
    errno = error;
}

}  // namespace platform
