#include "utilities/platform/linux/serial/ports.h"

// A port is in the list from its opening to its closing. An operation finds it there by its handle
// and counts itself as a user; whoever comes last, the closing or the last user, closes the
// descriptor. Users and list are guarded by one lock, and every user is under a deferral, so that
// no user ever vanishes.
//
// The list needs no constructor or destructor: it works before the first and after the last static
// object. Ports that are still open when the library is unloaded are closed then, after all
// destructors of the program.
//
// In the child of a fork the list shows the same ports, without the users, which don't exist there.
// The child may use them. But the lock and the exclusive mode are the parent's: a closing in the
// child, and the child's exit, give up the child's copy of the descriptor and nothing else.
// Conversely the parent ends both explicitly before it closes, as they would otherwise last as long
// as the child's copy.

#include <fcntl.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>

#include <memory>
#include <utility>

#include "utilities/frame/errno_internal.h"
#include "utilities/platform/fork.h"
#include "utilities/platform/linux/files/opening.h"
#include "utilities/platform/linux/files/ownership.h"
#include "utilities/platform/linux/serial/serial_settings.h"
#include "utilities/platform/linux/sync/futexlock.h"
#include "utilities/platform/linux/sync/retry.h"

namespace platform::serial {

namespace {

constinit FutexLock portsLock;
constinit Port* firstPort = nullptr;
constinit std::uintptr_t lastNumber = 0;
constinit Port noPort;  // Without a device.

const AtFork portsAtFork(
    ForkOrder::SUBSYSTEMS, [] { portsLock.lock(); }, [] { portsLock.unlock(); },
    [] {
        for (Port* port = firstPort; port != nullptr; port = port->next)
            port->users = 0;
        portsLock.Reset();
    });

/// The link to the port in the list, or the null link at its end. Must be called with the lock
/// taken.
Port** FindPort(Handle handle) {
    Port** link = &firstPort;
    while (*link != nullptr && (*link)->number != reinterpret_cast<std::uintptr_t>(handle))
        link = &(*link)->next;
    return link;
}

/// Locks out all other users of `OpenPort`, and by the exclusive mode other programs, unless they
/// have root's rights.
bool TakeForOneself(Port& port) {
    OwnLocks(port.descriptor);
    if (!ReadSettings(port.descriptor, port.state))
        return false;
    if (Uninterrupted([&] { return flock(port.descriptor, LOCK_EX | LOCK_NB); }) != 0)
        return FailWith(errno == EWOULDBLOCK ? EBUSY : errno);
    port.isExclusive = ioctl(port.descriptor, TIOCEXCL) == 0;
    return port.isExclusive;
}

void ClosePort(Port* port) {
    const ScopedErrno untilClosed;
    if (port->isExclusive && OwnsLocks(port->descriptor))
        ioctl(port->descriptor, TIOCNXCL);
    if (port->descriptor >= 0)
        CloseReleasingLocks(port->descriptor);
    delete port;
}

/// What `OpenPort` closes unless it comes to its end.
using PortOwner = std::unique_ptr<Port, decltype(&ClosePort)>;

Handle AnyPort() {
    const ScopedLock lock(portsLock);
    return reinterpret_cast<Handle>(firstPort != nullptr ? firstPort->number : 0);
}

/// After all destructors of the program's static objects, or when the library is unloaded. Other
/// threads may still use ports.
[[gnu::destructor]] void CloseRemainingPorts() {
    while (const Handle port = AnyPort())
        RemovePort(port);
}

}  // namespace

Handle OpenPort(const std::string& path) {
    const CancelDeferral noCancel;
    const StopDeferral untilListed;
    PortOwner port(new Port, &ClosePort);
    port->descriptor = OpenAtOnce(path.c_str(), O_RDWR);
    if (port->descriptor < 0 || !TakeForOneself(*port))
        return nullptr;
    const ScopedLock lock(portsLock);
    port->number = ++lastNumber;
    port->isListed = true;
    port->next = firstPort;
    firstPort = port.release();
    return reinterpret_cast<Handle>(firstPort->number);
}

bool RemovePort(Handle handle) {
    const PortUse port(handle);
    const ScopedLock lock(portsLock);
    Port** const link = FindPort(handle);
    if (*link == nullptr)
        return false;
    *link = port->next;
    port->isListed = false;
    return true;
}

PortUse::PortUse(Handle handle) : m_Port(&noPort) {
    const ScopedLock lock(portsLock);
    if (Port* const found = *FindPort(handle)) {
        m_Port = found;
        ++m_Port->users;
    }
}

PortUse::~PortUse() {
    if (m_Port == &noPort)
        return;
    bool isLast = false;
    {
        const ScopedLock lock(portsLock);
        isLast = --m_Port->users == 0 && !m_Port->isListed;
    }
    if (isLast)
        ClosePort(m_Port);
}

}  // namespace platform::serial
