#include "utilities/platform/linux/files/appending.h"

#include <unistd.h>

#include "utilities/frame/errno_internal.h"
#include "utilities/platform/descriptors.h"

namespace platform {

void TakeBack(int file, std::int64_t length, std::int64_t end) {
    const ScopedErrno untilDone;
    if (GetLength(file) == end)
        static_cast<void>(ftruncate(file, length) == 0);
}

}  // namespace platform
