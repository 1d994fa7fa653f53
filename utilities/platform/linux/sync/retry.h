/// What a signal does to a call of the system.
#ifndef UTILITIES_PLATFORM_LINUX_SYNC_RETRY_H
#define UTILITIES_PLATFORM_LINUX_SYNC_RETRY_H

#include <cerrno>

namespace platform {

/// The result of `call()`, which is repeated as long as a signal breaks it off.
template <typename Call>
auto Uninterrupted(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR)
        result = call();
    return result;
}

}  // namespace platform

#endif
