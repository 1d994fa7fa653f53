#include "utilities/platform/linux/sync/current.h"

namespace platform {

constinit thread_local CurrentThread current{};

}  // namespace platform
