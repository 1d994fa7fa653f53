#include "utilities/platform/linux/opening.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace platform {

namespace {

int OpenUninterrupted(const char* path, int flags, int permission) {
    int file = -1;
    do {
        file = open(path, flags, static_cast<mode_t>(permission));
    } while (file < 0 && errno == EINTR);
    return file;
}

}  // namespace

int OpenNoDirectory(const char* path, int flags, int permission) {
    const int file = OpenUninterrupted(path, flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, permission);
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
