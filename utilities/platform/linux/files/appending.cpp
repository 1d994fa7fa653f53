#include "utilities/platform/linux/files/appending.h"

#include <unistd.h>

#include <cerrno>

#include "utilities/platform/descriptors.h"

namespace platform {

void TakeBack(int file, std::int64_t length, std::int64_t end) {
    const int error = errno;
    if (GetLength(file) == end && ftruncate(file, length) != 0)
        return;
    errno = error;
}

}  // namespace platform
