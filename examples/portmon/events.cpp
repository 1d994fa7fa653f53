#include "events.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

Events::Events(const String& devicePath)
    : m_Device(open(devicePath.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)) {}

Events::~Events() {
    if (m_Device >= 0)
        close(m_Device);
}

Event Events::Wait(bool forInput, bool forSpace, int milliseconds) const {
    const auto wanted = static_cast<short>(POLLIN | (forSpace ? POLLOUT : 0));
    pollfd watched[] = {{m_Device, wanted, 0}, {forInput ? STDIN_FILENO : -1, POLLIN, 0}};
    if (poll(watched, 2, milliseconds) <= 0)
        return {};
    const short device = watched[0].revents;
    return {watched[1].revents != 0, (device & POLLOUT) != 0, (device & (POLLHUP | POLLERR)) != 0};
}
