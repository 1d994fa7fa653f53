#include "utilities/platform/linux/serial_devices.h"

#include <algorithm>
#include <charconv>
#include <utility>
#include <vector>

#include "utilities/platform/linux/futex.h"
#include "utilities/platform/serial.h"

namespace platform::serial {

namespace {

struct Device {
    std::string name;
    std::string path;
};

constinit Lock devicesLock;
constinit std::vector<Device> devices;

std::string UsualPathOf(const std::string& name) {
    const std::string prefix = "\\\\.\\COM";
    if (name.compare(0, prefix.size(), prefix) != 0)
        return {};
    unsigned int number = 0;
    const char* const end = name.data() + name.size();
    const auto [stop, error] = std::from_chars(name.data() + prefix.size(), end, number);
    if (error != std::errc() || stop != end || number == 0)
        return {};
    return "/dev/ttyS" + std::to_string(number - 1);
}

}  // namespace

void SetDevice(const char* name, const char* path) {
    Device named{name, path != nullptr ? path : ""};
    const Guard guard(devicesLock);
    std::erase_if(devices, [&](const Device& device) { return device.name == name; });
    if (path != nullptr)
        devices.push_back(std::move(named));
}

std::string PathOf(const std::string& name) {
    const Guard guard(devicesLock);
    const auto found = std::find_if(devices.begin(), devices.end(),
                                    [&](const Device& device) { return device.name == name; });
    return found != devices.end() ? found->path : UsualPathOf(name);
}

}  // namespace platform::serial
