/// The settings of a serial line.
#ifndef UTILITIES_FRAME_SERIALSETTINGS_H
#define UTILITIES_FRAME_SERIALSETTINGS_H

#include <cstdint>

/// The settings of a serial line. A member whose comment says "only" has the one value that this
/// system offers; settings with another value are refused. A member that is "not used" may have any
/// value and keeps it.
struct DCB {
    std::uint32_t BaudRate = 0;      ///< Bits per second.
    bool fBinary = true;             ///< Only true: no byte ends the data.
    bool fParity = false;            ///< Only false: a byte with wrong parity is not dropped.
    bool fOutxCtsFlow = false;       ///< True exactly if `fRtsControl` is 2.
    bool fOutxDsrFlow = false;       ///< Only false: DSR doesn't hold the output.
    unsigned char fDtrControl = 0;   ///< 0 drops DTR, 1 raises it.
    bool fDsrSensitivity = false;    ///< Only false: DSR doesn't hold the input.
    bool fTXContinueOnXoff = false;  ///< Not used.
    bool fOutX = false;              ///< Only false: no flow control by XON and XOFF, which are
    bool fInX = false;               ///< ordinary bytes in both directions.
    bool fErrorChar = false;         ///< Only false: no byte is replaced.
    bool fNull = false;              ///< Only false: zero bytes are not dropped.
    unsigned char fRtsControl = 0;   ///< 0 drops RTS, 1 raises it, 2 is hardware handshake.
    bool fAbortOnError = false;      ///< Only false: an error doesn't block the port.
    std::uint16_t XonLim = 0;        ///< Not used, as is the next.
    std::uint16_t XoffLim = 0;
    unsigned char ByteSize = 8;  ///< Data bits, 5 to 8.
    unsigned char Parity = 0;    ///< 0 none, 1 odd, 2 even, 3 mark, 4 space.
    unsigned char StopBits = 0;  ///< 0 for one stop bit, 2 for two.
    char XonChar = 0;            ///< Not used, as are the rest.
    char XoffChar = 0;
    char EofChar = 0;
    char EvtChar = 0;
};

#endif
