#include "utilities/platform/linux/sync/futex.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "utilities/frame/errno_internal.h"

namespace platform {

bool FutexWait(const std::atomic<std::uint32_t>& word, std::uint32_t expected,
               const Deadline& deadline) {
    const ScopedErrno untilBack;  // A lock within an operation leaves its reason alone.
    const long result = syscall(SYS_futex, &word, FUTEX_WAIT_BITSET_PRIVATE, expected,
                                deadline.Get(), nullptr, FUTEX_BITSET_MATCH_ANY);
    return result == 0 || errno != ETIMEDOUT;
}

void FutexWake(const std::atomic<std::uint32_t>* word, int count) {
    const ScopedErrno untilBack;
    syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, count);
}

}  // namespace platform
