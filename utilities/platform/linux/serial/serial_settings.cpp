#include "utilities/platform/linux/serial/serial_settings.h"

#include <asm/termbits.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "utilities/frame/errno_internal.h"
#include "utilities/platform/serial.h"

namespace platform::serial {

namespace {

constexpr unsigned char MIN_SIZE = 5;
constexpr tcflag_t SIZES[] = {CS5, CS6, CS7, CS8};  // For `ByteSize` from `MIN_SIZE` on.

constexpr tcflag_t PARITY_BITS = PARENB | PARODD | CMSPAR;
// For `Parity` from none to space.
constexpr tcflag_t PARITIES[] = {0, PARENB | PARODD, PARENB, PARENB | PARODD | CMSPAR,
                                 PARENB | CMSPAR};

// The rate's code in both directions. No code for input means the rate of the output.
constexpr tcflag_t RATE_BITS = CBAUD | (tcflag_t{CBAUD} << IBSHIFT);

constexpr tcflag_t FORMAT_BITS = CSIZE | PARITY_BITS | CSTOPB | CRTSCTS;

/// The index of `bits` in the table; 0 if they are not in it.
template <typename Table>
unsigned char IndexOf(tcflag_t bits, const Table& table) {
    const auto found = std::find(std::begin(table), std::end(table), bits);
    return found != std::end(table) ? static_cast<unsigned char>(found - std::begin(table)) : 0;
}

bool IsOffered(const DCB& state) {
    return state.fBinary && !state.fParity && !state.fOutxDsrFlow && !state.fDsrSensitivity &&
           !state.fOutX && !state.fInX && !state.fErrorChar && !state.fNull &&
           !state.fAbortOnError && state.fDtrControl <= DTR_CONTROL_ENABLE &&
           state.fRtsControl <= RTS_CONTROL_HANDSHAKE &&
           state.fOutxCtsFlow == (state.fRtsControl == RTS_CONTROL_HANDSHAKE) &&
           state.ByteSize >= MIN_SIZE && state.ByteSize < MIN_SIZE + std::size(SIZES) &&
           state.Parity < std::size(PARITIES) &&
           (state.StopBits == ONESTOPBIT || state.StopBits == TWOSTOPBITS);
}

/// `line` with the settings of `state` and without any translation of bytes.
termios2 Transparent(termios2 line, const DCB& state) {
    line.c_iflag = IGNBRK;
    line.c_oflag = 0;
    line.c_lflag = 0;
    line.c_cflag &= ~(FORMAT_BITS | RATE_BITS);
    line.c_cflag |=
        CREAD | CLOCAL | HUPCL | BOTHER | SIZES[state.ByteSize - MIN_SIZE] | PARITIES[state.Parity];
    line.c_cflag |= state.StopBits == TWOSTOPBITS ? CSTOPB : 0;
    line.c_cflag |= state.fOutxCtsFlow ? CRTSCTS : 0;
    line.c_ospeed = line.c_ispeed = state.BaudRate;
    line.c_cc[VMIN] = 1;  // Then a read of 0 bytes means that the line was hung up.
    line.c_cc[VTIME] = 0;
    return line;
}

/// Whether the rate is off by at most 2 %, which receivers of 10 bits a byte tolerate.
bool IsNear(speed_t rate, speed_t wanted) {
    return std::llabs(static_cast<long long>(rate) - static_cast<long long>(wanted)) <= wanted / 50;
}

/// A device that can't do what it is asked for succeeds nevertheless, and keeps what it can do.
bool IsTaken(const termios2& taken, const termios2& wanted) {
    return IsNear(taken.c_ospeed, wanted.c_ospeed) &&
           (taken.c_cflag & FORMAT_BITS) == (wanted.c_cflag & FORMAT_BITS);
}

}  // namespace

bool ReadSettings(int descriptor, DCB& state) {
    termios2 line{};
    if (ioctl(descriptor, TCGETS2, &line) != 0)
        return false;
    state.BaudRate = line.c_ospeed;
    state.ByteSize = static_cast<unsigned char>(MIN_SIZE + IndexOf(line.c_cflag & CSIZE, SIZES));
    state.Parity = IndexOf(line.c_cflag & PARITY_BITS, PARITIES);
    state.StopBits = (line.c_cflag & CSTOPB) != 0 ? TWOSTOPBITS : ONESTOPBIT;
    state.fOutxCtsFlow = (line.c_cflag & CRTSCTS) != 0;
    if (state.fOutxCtsFlow)
        state.fRtsControl = RTS_CONTROL_HANDSHAKE;
    else if (state.fRtsControl == RTS_CONTROL_HANDSHAKE)
        state.fRtsControl = RTS_CONTROL_ENABLE;
    return true;
}

bool ApplySettings(int descriptor, const DCB& state) {
    termios2 before{};
    if (ioctl(descriptor, TCGETS2, &before) != 0)
        return false;
    if (!IsOffered(state))
        return FailWith(EINVAL);
    const termios2 wanted = Transparent(before, state);
    termios2 taken = wanted;
    if (ioctl(descriptor, TCSETS2, &wanted) != 0 || ioctl(descriptor, TCGETS2, &taken) != 0)
        return false;
    if (IsTaken(taken, wanted))
        return true;
    ioctl(descriptor, TCSETS2, &before);
    return FailWith(EINVAL);
}

}  // namespace platform::serial
