/// Which device a port's name stands for.
#ifndef UTILITIES_PLATFORM_LINUX_SERIAL_DEVICES_H
#define UTILITIES_PLATFORM_LINUX_SERIAL_DEVICES_H

#include <string>

namespace platform::serial {

/// Empty where there is none. From any thread.
std::string PathOf(const std::string& name);

}  // namespace platform::serial

#endif
