/// The types in which every interface of the library speaks of this platform.
#ifndef UTILITIES_PLATFORM_TYPES_H
#define UTILITIES_PLATFORM_TYPES_H

#include <sys/stat.h>

#include <cstdint>

/// One unit of wide text: 16 bits, whatever the width of the system's `wchar_t`. Literals are
/// written `u"..."`. Operations look at single units; surrogate pairs get no special handling
/// but in the conversions between the widths.
using WideChar = char16_t;

/// The 64-bit integer of the interfaces, a macro so that `unsigned __int64` can be written.
#define __int64 long long

/// The file status of the file-system functions: the system's record under its portable name.
struct _stat : stat {};

/// The settings of a serial line. What this system doesn't offer has one value that it takes, and
/// what is marked as kept has no effect.
struct DCB {
    std::uint32_t BaudRate = 0;
    bool fBinary = true;             ///< Only true.
    bool fParity = false;            ///< Only false: a byte with wrong parity is a byte.
    bool fOutxCtsFlow = false;       ///< Hardware handshake, together with `fRtsControl`.
    bool fOutxDsrFlow = false;       ///< Only false.
    unsigned char fDtrControl = 0;   ///< 0 drops DTR, `DTR_CONTROL_ENABLE` raises it.
    bool fDsrSensitivity = false;    ///< Only false.
    bool fTXContinueOnXoff = false;  ///< Kept.
    bool fOutX = false;              ///< Only false: no byte is one of flow control.
    bool fInX = false;               ///< Only false.
    bool fErrorChar = false;         ///< Only false.
    bool fNull = false;              ///< Only false: a zero byte is a byte.
    unsigned char fRtsControl = 0;   ///< 0 drops RTS; `RTS_CONTROL_ENABLE`, `..._HANDSHAKE`.
    bool fAbortOnError = false;      ///< Only false.
    std::uint16_t XonLim = 0;        ///< Kept, as are all limits and characters.
    std::uint16_t XoffLim = 0;
    unsigned char ByteSize = 8;  ///< Data bits, 5 to 8.
    unsigned char Parity = 0;    ///< `NOPARITY` to `SPACEPARITY`, 0 to 4.
    unsigned char StopBits = 0;  ///< `ONESTOPBIT`, 0, or `TWOSTOPBITS`, 2.
    char XonChar = 0;
    char XoffChar = 0;
    char EofChar = 0;
    char EvtChar = 0;
};

#endif
