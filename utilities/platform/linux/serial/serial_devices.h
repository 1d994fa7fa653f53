/// The names of ports and the devices that they stand for. Any thread can call the operations.
#ifndef UTILITIES_PLATFORM_LINUX_SERIAL_SERIAL_DEVICES_H
#define UTILITIES_PLATFORM_LINUX_SERIAL_SERIAL_DEVICES_H

#include <string>

namespace platform::serial {

/// As `platform::serial::SetDevice`.
void SetPath(const std::string& name, const char* path);

/// The path of the device of a port name; empty if `name` is not a port name.
std::string PathOf(const std::string& name);

}  // namespace platform::serial

#endif
