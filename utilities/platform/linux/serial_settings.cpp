#include "utilities/platform/linux/serial_settings.h"

#include <asm/termbits.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iterator>

#include "utilities/platform/serial.h"

namespace platform::serial {

namespace {

constexpr unsigned char LEAST_SIZE = 5;
constexpr tcflag_t SIZES[] = {CS5, CS6, CS7, CS8};

constexpr tcflag_t PARITY_BITS = PARENB | PARODD | CMSPAR;
constexpr tcflag_t PARITIES[] = {0, PARENB | PARODD, PARENB, PARENB | PARODD | CMSPAR,
                                 PARENB | CMSPAR};

// With this rate on the input side that is the same as the output's.
constexpr tcflag_t RATE_BITS = CBAUD | (tcflag_t{CBAUD} << IBSHIFT);

constexpr tcflag_t LINE_BITS = CSIZE | PARITY_BITS | CSTOPB | CRTSCTS | RATE_BITS;

template <typename Table>
unsigned char PlaceOf(tcflag_t bits, const Table& table) {
    const auto found = std::find(std::begin(table), std::end(table), bits);
    return found != std::end(table) ? static_cast<unsigned char>(found - std::begin(table)) : 0;
}

bool IsOffered(const DCB& state) {
    return state.fBinary && !state.fParity && !state.fOutxDsrFlow && !state.fDsrSensitivity &&
           !state.fOutX && !state.fInX && !state.fErrorChar && !state.fNull &&
           !state.fAbortOnError && state.fDtrControl <= DTR_CONTROL_ENABLE &&
           state.fRtsControl <= RTS_CONTROL_HANDSHAKE &&
           state.fOutxCtsFlow == (state.fRtsControl == RTS_CONTROL_HANDSHAKE) &&
           state.ByteSize >= LEAST_SIZE && state.ByteSize < LEAST_SIZE + std::size(SIZES) &&
           state.Parity < std::size(PARITIES) &&
           (state.StopBits == ONESTOPBIT || state.StopBits == TWOSTOPBITS);
}

termios2 Transparent(termios2 line, const DCB& state) {
    line.c_iflag = IGNBRK;
    line.c_oflag = 0;
    line.c_lflag = 0;
    line.c_cflag &= ~LINE_BITS;
    line.c_cflag |= CREAD | CLOCAL | HUPCL | BOTHER | SIZES[state.ByteSize - LEAST_SIZE] |
                    PARITIES[state.Parity];
    line.c_cflag |= state.StopBits == TWOSTOPBITS ? CSTOPB : 0;
    line.c_cflag |= state.fOutxCtsFlow ? CRTSCTS : 0;
    line.c_ospeed = line.c_ispeed = state.BaudRate;
    line.c_cc[VMIN] = 1;  // So that reading nothing means that the line was hung up.
    line.c_cc[VTIME] = 0;
    return line;
}

bool IsNear(speed_t rate, speed_t wanted) {
    return std::llabs(static_cast<long long>(rate) - static_cast<long long>(wanted)) <= wanted / 50;
}

}  // namespace

bool ReadSettings(int descriptor, DCB& state) {
    termios2 line{};
    if (ioctl(descriptor, TCGETS2, &line) != 0)
        return false;
    state.BaudRate = line.c_ospeed;
    state.ByteSize = static_cast<unsigned char>(LEAST_SIZE + PlaceOf(line.c_cflag & CSIZE, SIZES));
    state.Parity = PlaceOf(line.c_cflag & PARITY_BITS, PARITIES);
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
    errno = EINVAL;
    if (!IsOffered(state))
        return false;
    const termios2 wanted = Transparent(before, state);
    termios2 taken = wanted;
    if (ioctl(descriptor, TCSETS2, &wanted) != 0 || ioctl(descriptor, TCGETS2, &taken) != 0)
        return false;
    if (IsNear(taken.c_ospeed, state.BaudRate))
        return true;
    ioctl(descriptor, TCSETS2, &before);
    errno = EINVAL;
    return false;
}

}  // namespace platform::serial
