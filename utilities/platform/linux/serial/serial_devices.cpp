#include "utilities/platform/linux/serial/serial_devices.h"

#include <charconv>
#include <utility>

#include "utilities/platform/fork.h"
#include "utilities/platform/linux/sync/futexlock.h"

namespace platform::serial {

namespace {

/// A port name that stands for another device than its usual one.
struct Device {
    std::string name;
    std::string path;
    Device* next;
};

// The list needs no constructor or destructor: it works before the first and after the last static
// object.
constinit FutexLock devicesLock;
constinit Device* firstDevice = nullptr;

const AtFork devicesAtFork(
    ForkOrder::SUBSYSTEMS, [] { devicesLock.lock(); }, [] { devicesLock.unlock(); },
    [] { devicesLock.Reset(); });

/// The link to the device in the list, or the null link at its end. Must be called with the lock
/// taken.
Device** FindDevice(const std::string& name) {
    Device** link = &firstDevice;
    while (*link != nullptr && (*link)->name != name)
        link = &(*link)->next;
    return link;
}

void RemoveDevice(Device** link) { delete std::exchange(*link, (*link)->next); }

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

/// After all destructors of the program's static objects, or when the library is unloaded.
[[gnu::destructor]] void RemoveAllDevices() {
    const ScopedLock lock(devicesLock);
    while (firstDevice != nullptr)
        RemoveDevice(&firstDevice);
}

}  // namespace

void SetPath(const std::string& name, const char* path) {
    const ScopedLock lock(devicesLock);
    Device** const link = FindDevice(name);
    if (*link == nullptr && path != nullptr)
        *link = new Device{name, path, nullptr};
    else if (*link != nullptr && path != nullptr)
        std::string(path).swap((*link)->path);
    else if (*link != nullptr)
        RemoveDevice(link);
}

std::string PathOf(const std::string& name) {
    const ScopedLock lock(devicesLock);
    Device* const device = *FindDevice(name);
    return device != nullptr ? device->path : UsualPathOf(name);
}

}  // namespace platform::serial
