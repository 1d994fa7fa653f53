#include "utilities/platform/files.h"

#include <sys/stat.h>

#include <string>

namespace platform {

int _stat(const char* path, struct ::_stat* status) { return ::stat(path, status); }

int rename(const char* from, const char* to) { return ::rename(from, to); }

std::FILE* fopen(const char* path, const char* mode) {
    return std::fopen(path, (std::string(mode) + 'e').c_str());
}

}  // namespace platform
