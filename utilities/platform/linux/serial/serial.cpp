#include "utilities/platform/serial.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "utilities/platform/clock.h"
#include "utilities/platform/linux/files/ownership.h"
#include "utilities/platform/linux/serial/ports.h"
#include "utilities/platform/linux/serial/serial_devices.h"
#include "utilities/platform/linux/serial/serial_settings.h"
#include "utilities/platform/linux/sync/retry.h"

namespace platform::serial {

namespace {

constexpr std::uint32_t CLOSE_MILLISECONDS = 2000;

// The longest part of a wait: so long is a kill or suspension of the waiting thread deferred.
constexpr std::uint32_t WAIT_MILLISECONDS = 20;

std::uint32_t QueueLength(const Port& port, unsigned long queue) {
    int length = 0;
    return ioctl(port.descriptor, queue, &length) == 0 ? static_cast<std::uint32_t>(length) : 0;
}

/// Drops the output once it is sent or the time is up. A thread that is killed in the pauses leaves
/// an open port.
void DrainOutput(Handle handle) {
    const std::uint32_t start = GetTickCount();
    for (;; Sleep(1)) {
        const PortUse port(handle);
        if (QueueLength(*port, TIOCOUTQ) == 0 || GetTickCount() - start >= CLOSE_MILLISECONDS) {
            tcflush(port->descriptor, TCOFLUSH);
            return;
        }
    }
}

bool MoveLine(const Port& port, int line, bool on) {
    return ioctl(port.descriptor, on ? TIOCMBIS : TIOCMBIC, &line) == 0;
}

/// Moves the lines whose members changed. A device without modem lines is not a failure.
void MoveLines(const Port& port, const DCB& state) {
    if (state.fDtrControl != port.state.fDtrControl)
        MoveLine(port, TIOCM_DTR, state.fDtrControl == DTR_CONTROL_ENABLE);
    if (state.fRtsControl != port.state.fRtsControl && state.fRtsControl != RTS_CONTROL_HANDSHAKE)
        MoveLine(port, TIOCM_RTS, state.fRtsControl == RTS_CONTROL_ENABLE);
}

/// Transfers bytes by `move(descriptor, done)` until `size` bytes are transferred or the time is
/// up.
template <typename Move>
bool MoveAll(Handle handle, short event, Move move, std::uint32_t size, std::uint64_t milliseconds,
             std::uint32_t& done) {
    const std::uint32_t start = GetTickCount();
    for (done = 0; done < size;) {
        const PortUse port(handle);
        const ssize_t moved = Uninterrupted([&] { return move(port->descriptor, done); });
        if (moved == 0)
            errno = EIO;  // The line was hung up: VMIN is 1.
        if (moved == 0 || (moved < 0 && errno != EAGAIN))
            return false;
        if (moved > 0) {
            done += static_cast<std::uint32_t>(moved);
            continue;
        }
        const std::uint32_t elapsed = GetTickCount() - start;
        if (elapsed >= milliseconds)
            return true;
        pollfd device{port->descriptor, event, 0};
        poll(&device, 1,
             static_cast<int>(std::min<std::uint64_t>(milliseconds - elapsed, WAIT_MILLISECONDS)));
    }
    return true;
}

std::uint64_t Limit(std::uint32_t constant, std::uint32_t multiplier, std::uint32_t size) {
    return constant + std::uint64_t{multiplier} * size;
}

}  // namespace

void SetDevice(const char* name, const char* path) { SetPath(name, path); }

Handle CreateFileA(const char* name) { return OpenPort(PathOf(name)); }

bool IsOwner(Handle port) {
    const PortUse found(port);
    return found->descriptor >= 0 && MayLock(found->descriptor);
}

bool CloseHandle(Handle port) {
    const CancelDeferral noCancel;  // Destructors call this.
    if (IsOwner(port))
        DrainOutput(port);
    return RemovePort(port);
}

bool SetupComm(Handle port, std::uint32_t, std::uint32_t) { return PortUse(port)->descriptor >= 0; }

bool SetCommMask(Handle port, std::uint32_t mask) {
    return mask == 0 && PortUse(port)->descriptor >= 0;
}

bool GetCommState(Handle port, DCB* state) {
    const PortUse found(port);
    DCB present = found->state;
    if (!ReadSettings(found->descriptor, present))
        return false;
    *state = present;
    return true;
}

bool SetCommState(Handle port, const DCB* state) {
    const PortUse found(port);
    if (!ApplySettings(found->descriptor, *state))
        return false;
    MoveLines(*found, *state);
    found->state = *state;
    return true;
}

bool SetCommTimeouts(Handle port, const COMMTIMEOUTS* timeouts) {
    const PortUse found(port);
    if (found->descriptor < 0 || timeouts->ReadIntervalTimeout != 0xFFFFFFFF)
        return false;
    found->timeouts = *timeouts;
    return true;
}

bool PurgeComm(Handle port, std::uint32_t flags) {
    const PortUse found(port);
    const bool isInputDone =
        (flags & PURGE_RXCLEAR) == 0 || tcflush(found->descriptor, TCIFLUSH) == 0;
    const bool isOutputDone =
        (flags & PURGE_TXCLEAR) == 0 || tcflush(found->descriptor, TCOFLUSH) == 0;
    return isInputDone && isOutputDone;
}

bool EscapeCommFunction(Handle port, std::uint32_t function) {
    if (function < SETRTS || function > CLRDTR)
        return false;
    return MoveLine(*PortUse(port), function <= CLRRTS ? TIOCM_RTS : TIOCM_DTR,
                    function == SETRTS || function == SETDTR);
}

bool GetCommModemStatus(Handle port, std::uint32_t* status) {
    int lines = 0;
    *status = 0;
    if (ioctl(PortUse(port)->descriptor, TIOCMGET, &lines) != 0)
        return false;
    *status =
        ((lines & TIOCM_CTS) != 0 ? MS_CTS_ON : 0) | ((lines & TIOCM_CD) != 0 ? MS_RLSD_ON : 0);
    return true;
}

bool ClearCommError(Handle port, COMSTAT* status) {
    const PortUse found(port);
    int in = 0;
    int out = 0;
    const bool isDone = ioctl(found->descriptor, TIOCINQ, &in) == 0 &&
                        ioctl(found->descriptor, TIOCOUTQ, &out) == 0;
    *status = isDone ? COMSTAT{static_cast<std::uint32_t>(in), static_cast<std::uint32_t>(out)}
                     : COMSTAT{};
    return isDone;
}

bool ReadFile(Handle port, void* buffer, std::uint32_t size, std::uint32_t* done) {
    const COMMTIMEOUTS limits = PortUse(port)->timeouts;
    return MoveAll(
        port, POLLIN,
        [=](int device, std::uint32_t from) {
            return read(device, static_cast<char*>(buffer) + from, size - from);
        },
        size, Limit(limits.ReadTotalTimeoutConstant, limits.ReadTotalTimeoutMultiplier, size),
        *done);
}

bool WriteFile(Handle port, const void* buffer, std::uint32_t size, std::uint32_t* done) {
    const COMMTIMEOUTS limits = PortUse(port)->timeouts;
    return MoveAll(
        port, POLLOUT,
        [=](int device, std::uint32_t from) {
            return write(device, static_cast<const char*>(buffer) + from, size - from);
        },
        size, Limit(limits.WriteTotalTimeoutConstant, limits.WriteTotalTimeoutMultiplier, size),
        *done);
}

std::uint32_t GetLastError() { return static_cast<std::uint32_t>(errno); }

}  // namespace platform::serial
