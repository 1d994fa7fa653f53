#include "utilities/platform/currentthread.h"

#include <sys/prctl.h>
#include <unistd.h>

#include "utilities/platform/linux/sync/current.h"

namespace platform {

std::uint32_t GetCurrentThreadId() {
    if (current.id == 0)
        current.id = static_cast<std::uint32_t>(gettid());
    return current.id;
}

void SetCurrentThreadName(const char* name) { prctl(PR_SET_NAME, name); }

}  // namespace platform
