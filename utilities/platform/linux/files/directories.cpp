#include "utilities/platform/directories.h"

#include <sys/stat.h>
#include <unistd.h>

namespace platform {

int _mkdir(const char* path) { return mkdir(path, 0777); }

// The standard's remove would take an empty directory.
int remove(const char* path) { return unlink(path); }

bool DeleteFileA(const char* path) {
    struct stat status;
    return lstat(path, &status) == 0 && (S_ISREG(status.st_mode) || S_ISLNK(status.st_mode)) &&
           unlink(path) == 0;
}

}  // namespace platform
