#include "utilities/platform/outputfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "utilities/platform/linux/files/opening.h"
#include "utilities/platform/linux/files/ownership.h"
#include "utilities/platform/linux/files/sharing.h"

namespace platform {

namespace {

// How often a file is opened anew because somebody has removed or replaced it meanwhile.
constexpr int OPENINGS = 100;

/// False if the file was removed or replaced after we opened it.
bool IsStillNamed(const struct stat& opened, const char* path) {
    struct stat named;
    return stat(path, &named) == 0 && named.st_dev == opened.st_dev &&
           named.st_ino == opened.st_ino;
}

enum class Claim { GRANTED, REFUSED, GONE };

Claim ClaimFile(int file, const char* path) {
    struct stat status;
    if (fstat(file, &status) != 0)
        return Claim::REFUSED;
    if (!S_ISREG(status.st_mode))
        return Claim::GRANTED;
    if (!EnterSoleWriter(file))
        return Claim::REFUSED;
    if (!IsStillNamed(status, path))
        return Claim::GONE;
    return EmptyFile(file) ? Claim::GRANTED : Claim::REFUSED;
}

}  // namespace

int CreateOutputFile(const char* path) {
    for (int opening = 0; opening < OPENINGS; ++opening) {
        const int file = OpenNoDirectory(path, O_WRONLY | O_CREAT, 0666);
        if (file < 0)
            return -1;
        const Claim claim = ClaimFile(file, path);
        if (claim == Claim::GRANTED)
            return file;
        CloseReleasingLocks(file);
        if (claim == Claim::REFUSED)
            return -1;
    }
    errno = EBUSY;
    return -1;
}

}  // namespace platform
