/// The open ports of this process, by their handles.
#ifndef UTILITIES_PLATFORM_LINUX_SERIAL_PORTS_H
#define UTILITIES_PLATFORM_LINUX_SERIAL_PORTS_H

#include <cstdint>
#include <string>

#include "utilities/platform/canceldeferral.h"
#include "utilities/platform/serial.h"
#include "utilities/platform/stopdeferral.h"

namespace platform::serial {

/// An open port. It belongs to the list of open ports, and to the operations that use it at the
/// moment.
struct Port {
    int descriptor = -1;
    bool isExclusive = false;
    std::uintptr_t number = 0;  ///< The value of its handle. No number is used twice.
    int users = 0;              ///< Operations at work on it, under the list's lock.
    bool isListed = false;
    Port* next = nullptr;
    DCB state;  ///< As it was set last.
    COMMTIMEOUTS timeouts{0xFFFFFFFF, 0, 0, 0, 0};
};

/// Opens the device for this process alone and lists it. Null on failure.
Handle OpenPort(const std::string& path);

/// Takes the port out of the list, so that no further operation finds it, and closes it as soon as
/// no operation uses it. False for a handle that is not open.
bool RemovePort(Handle handle);

/// One operation's use of a port. While it lives, the port isn't closed, and a suspension or kill
/// of the calling thread is deferred: a thread that ended in here would keep the port open for
/// ever. So it must be short; a long wait takes a new one for each of its parts.
class PortUse {
public:
    explicit PortUse(Handle handle);
    ~PortUse();
    PortUse(const PortUse&) = delete;
    PortUse& operator=(const PortUse&) = delete;

    /// For a handle that is not open a port without a device, on which every call of the system
    /// fails.
    Port* operator->() const { return m_Port; }
    Port& operator*() const { return *m_Port; }

private:
    CancelDeferral m_NoCancel;
    StopDeferral m_NoStop;
    Port* m_Port;
};

}  // namespace platform::serial

#endif
