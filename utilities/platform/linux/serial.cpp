#include "utilities/platform/serial.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <memory>
#include <vector>

#include "utilities/platform/clock.h"
#include "utilities/platform/linux/futex.h"
#include "utilities/platform/linux/retry.h"
#include "utilities/platform/linux/serial_devices.h"
#include "utilities/platform/linux/serial_settings.h"

namespace platform::serial {

namespace {

constexpr std::uint32_t CLOSE_MILLISECONDS = 2000;

/// An open device, closed with the object.
struct Port {
    Port() = default;
    Port(const Port&) = delete;
    Port& operator=(const Port&) = delete;
    ~Port() {
        if (isExclusive)
            ioctl(descriptor, TIOCNXCL);  // Else it lasts while anybody has the device open.
        if (descriptor >= 0)
            close(descriptor);
    }

    int descriptor = -1;
    bool isExclusive = false;
    std::uintptr_t number = 0;  ///< Its handle. No number is used twice.
    DCB state;                  ///< As it was set last.
    COMMTIMEOUTS timeouts{0xFFFFFFFF, 0, 0, 0, 0};
};

using PortReference = std::shared_ptr<Port>;

constinit Lock portsLock;
constinit std::vector<PortReference> ports;
constinit Port noPort;  ///< Never changed.
constinit std::uintptr_t lastNumber = 0;

auto PlaceOf(Handle handle) {
    const auto number = reinterpret_cast<std::uintptr_t>(handle);
    return std::find_if(ports.begin(), ports.end(),
                        [number](const PortReference& port) { return port->number == number; });
}

/// For a handle that isn't open the port without a device, on which every call of the system fails.
PortReference Find(Handle handle) {
    const Guard guard(portsLock);
    const auto place = PlaceOf(handle);
    return place != ports.end() ? *place : PortReference(PortReference(), &noPort);
}

PortReference Remove(Handle handle) {
    const Guard guard(portsLock);
    const auto place = PlaceOf(handle);
    if (place == ports.end())
        return nullptr;
    PortReference port = *place;
    ports.erase(place);
    return port;
}

/// The lock holds for everybody who uses it; the exclusive mode keeps all other programs out, but
/// not root's.
bool IsTaken(Port& port) {
    if (!ReadSettings(port.descriptor, port.state) ||
        Uninterrupted([&] { return flock(port.descriptor, LOCK_EX | LOCK_NB); }) != 0)
        return false;
    port.isExclusive = ioctl(port.descriptor, TIOCEXCL) == 0;
    return port.isExclusive;
}

std::uint32_t QueueLength(const Port& port, unsigned long queue) {
    int length = 0;
    return ioctl(port.descriptor, queue, &length) == 0 ? static_cast<std::uint32_t>(length) : 0;
}

void DrainOutput(const Port& port) {
    const std::uint32_t start = GetTickCount();
    while (QueueLength(port, TIOCOUTQ) != 0 && GetTickCount() - start < CLOSE_MILLISECONDS)
        Sleep(1);
    tcflush(port.descriptor, TCOFLUSH);
}

bool MoveLine(const Port& port, int line, bool on) {
    return ioctl(port.descriptor, on ? TIOCMBIS : TIOCMBIC, &line) == 0;
}

/// A device without modem lines stays as it is.
void MoveLines(const Port& port, const DCB& state) {
    if (state.fDtrControl != port.state.fDtrControl)
        MoveLine(port, TIOCM_DTR, state.fDtrControl == DTR_CONTROL_ENABLE);
    if (state.fRtsControl != port.state.fRtsControl && state.fRtsControl != RTS_CONTROL_HANDSHAKE)
        MoveLine(port, TIOCM_RTS, state.fRtsControl == RTS_CONTROL_ENABLE);
}

/// Calls `move(done)` until `size` bytes are moved or the time is up.
template <typename Move>
bool MoveAll(pollfd device, Move move, std::uint32_t size, std::uint64_t milliseconds,
             std::uint32_t& done) {
    const std::uint32_t start = GetTickCount();
    for (done = 0; done < size;) {
        const ssize_t moved = Uninterrupted([&] { return move(done); });
        if (moved == 0)
            errno = EIO;  // The line was hung up.
        if (moved == 0 || (moved < 0 && errno != EAGAIN))
            return false;
        if (moved > 0) {
            done += static_cast<std::uint32_t>(moved);
            continue;
        }
        const std::uint32_t elapsed = GetTickCount() - start;
        if (elapsed >= milliseconds)
            return true;
        poll(&device, 1,
             static_cast<int>(std::min<std::uint64_t>(milliseconds - elapsed, INT_MAX)));
    }
    return true;
}

std::uint64_t Limit(std::uint32_t constant, std::uint32_t multiplier, std::uint32_t size) {
    return constant + std::uint64_t{multiplier} * size;
}

}  // namespace

Handle CreateFileA(const char* name) {
    const HoldOff untilListed;
    const std::string path = PathOf(name);
    const auto port = std::make_shared<Port>();
    port->descriptor = Uninterrupted(
        [&] { return open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC); });
    if (port->descriptor < 0 || !IsTaken(*port))
        return nullptr;
    const Guard guard(portsLock);
    port->number = ++lastNumber;
    ports.push_back(port);
    return reinterpret_cast<Handle>(port->number);
}

bool CloseHandle(Handle port) {
    const PortReference removed = Remove(port);
    if (removed == nullptr)
        return false;
    DrainOutput(*removed);
    return true;
}

bool SetupComm(Handle port, std::uint32_t, std::uint32_t) { return Find(port)->descriptor >= 0; }

bool SetCommMask(Handle port, std::uint32_t mask) {
    return mask == 0 && Find(port)->descriptor >= 0;
}

bool GetCommState(Handle port, DCB* state) {
    const PortReference found = Find(port);
    DCB present = found->state;
    if (!ReadSettings(found->descriptor, present))
        return false;
    *state = present;
    return true;
}

bool SetCommState(Handle port, const DCB* state) {
    const PortReference found = Find(port);
    if (!ApplySettings(found->descriptor, *state))
        return false;
    MoveLines(*found, *state);
    found->state = *state;
    return true;
}

bool SetCommTimeouts(Handle port, const COMMTIMEOUTS* timeouts) {
    const PortReference found = Find(port);
    if (found->descriptor < 0 || timeouts->ReadIntervalTimeout != 0xFFFFFFFF)
        return false;
    found->timeouts = *timeouts;
    return true;
}

bool PurgeComm(Handle port, std::uint32_t flags) {
    const PortReference found = Find(port);
    const bool isInputDone =
        (flags & PURGE_RXCLEAR) == 0 || tcflush(found->descriptor, TCIFLUSH) == 0;
    const bool isOutputDone =
        (flags & PURGE_TXCLEAR) == 0 || tcflush(found->descriptor, TCOFLUSH) == 0;
    return isInputDone && isOutputDone;
}

bool EscapeCommFunction(Handle port, std::uint32_t function) {
    if (function < SETRTS || function > CLRDTR)
        return false;
    return MoveLine(*Find(port), function <= CLRRTS ? TIOCM_RTS : TIOCM_DTR,
                    function == SETRTS || function == SETDTR);
}

bool GetCommModemStatus(Handle port, std::uint32_t* status) {
    int lines = 0;
    *status = 0;
    if (ioctl(Find(port)->descriptor, TIOCMGET, &lines) != 0)
        return false;
    *status =
        ((lines & TIOCM_CTS) != 0 ? MS_CTS_ON : 0) | ((lines & TIOCM_CD) != 0 ? MS_RLSD_ON : 0);
    return true;
}

bool ClearCommError(Handle port, COMSTAT* status) {
    const PortReference found = Find(port);
    int in = 0;
    int out = 0;
    const bool isDone = ioctl(found->descriptor, TIOCINQ, &in) == 0 &&
                        ioctl(found->descriptor, TIOCOUTQ, &out) == 0;
    *status = isDone ? COMSTAT{static_cast<std::uint32_t>(in), static_cast<std::uint32_t>(out)}
                     : COMSTAT{};
    return isDone;
}

bool ReadFile(Handle port, void* buffer, std::uint32_t size, std::uint32_t* done) {
    const PortReference found = Find(port);
    const COMMTIMEOUTS& limits = found->timeouts;
    const int device = found->descriptor;
    return MoveAll(
        {device, POLLIN, 0},
        [=](std::uint32_t from) {
            return read(device, static_cast<char*>(buffer) + from, size - from);
        },
        size, Limit(limits.ReadTotalTimeoutConstant, limits.ReadTotalTimeoutMultiplier, size),
        *done);
}

bool WriteFile(Handle port, const void* buffer, std::uint32_t size, std::uint32_t* done) {
    const PortReference found = Find(port);
    const COMMTIMEOUTS& limits = found->timeouts;
    const int device = found->descriptor;
    return MoveAll(
        {device, POLLOUT, 0},
        [=](std::uint32_t from) {
            return write(device, static_cast<const char*>(buffer) + from, size - from);
        },
        size, Limit(limits.WriteTotalTimeoutConstant, limits.WriteTotalTimeoutMultiplier, size),
        *done);
}

std::uint32_t GetLastError() { return static_cast<std::uint32_t>(errno); }

}  // namespace platform::serial
