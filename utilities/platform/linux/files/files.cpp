#include "utilities/platform/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

namespace platform {

int _stat(const char* path, struct ::_stat* status) { return ::stat(path, status); }

int rename(const char* from, const char* to) { return ::rename(from, to); }

std::FILE* fopen(const char* path, const char* mode) {
    const std::string closedOnExec = std::string(mode) + 'e';
    std::FILE* const file = std::fopen(path, closedOnExec.c_str());
    if (file == nullptr || fileno(file) > STDERR_FILENO)
        return file;
    const int moved = fcntl(fileno(file), F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    std::fclose(file);
    // The open has created or emptied the file as the mode says; this only wraps the descriptor.
    std::FILE* const wrapped = moved >= 0 ? fdopen(moved, mode) : nullptr;
    if (wrapped == nullptr && moved >= 0)
        close(moved);
    return wrapped;
}

}  // namespace platform
