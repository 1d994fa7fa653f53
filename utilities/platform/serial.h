/// Serial lines, opened for one user at a time and polled: bytes, settings, modem lines, queues.
///
/// A port is known by a plain value. One that is null, was never given out or was closed makes
/// every operation fail, and so does one whose device has vanished. No operation waits but where it
/// says so, and no signal ends one early. Different ports can be used by different threads; one
/// port serves one thread at a time, but may be closed by another.
///
/// The names are those of files and other handles as well, so they have a namespace of their own.
#ifndef UTILITIES_PLATFORM_SERIAL_H
#define UTILITIES_PLATFORM_SERIAL_H

#include <cstdint>

#include "utilities/platform/types.h"

namespace platform::serial {

using Handle = void*;

/// Values of the settings.
inline constexpr unsigned char DTR_CONTROL_ENABLE = 1;
inline constexpr unsigned char RTS_CONTROL_ENABLE = 1;
inline constexpr unsigned char RTS_CONTROL_HANDSHAKE = 2;
inline constexpr unsigned char NOPARITY = 0;
inline constexpr unsigned char ODDPARITY = 1;
inline constexpr unsigned char EVENPARITY = 2;
inline constexpr unsigned char MARKPARITY = 3;
inline constexpr unsigned char SPACEPARITY = 4;
inline constexpr unsigned char ONESTOPBIT = 0;
inline constexpr unsigned char TWOSTOPBITS = 2;

/// What `PurgeComm` drops, as a sum.
inline constexpr std::uint32_t PURGE_TXABORT = 1;
inline constexpr std::uint32_t PURGE_TXCLEAR = 4;
inline constexpr std::uint32_t PURGE_RXCLEAR = 8;

/// What `EscapeCommFunction` does.
inline constexpr std::uint32_t SETRTS = 3;
inline constexpr std::uint32_t CLRRTS = 4;
inline constexpr std::uint32_t SETDTR = 5;
inline constexpr std::uint32_t CLRDTR = 6;

/// The bits of `GetCommModemStatus`.
inline constexpr std::uint32_t MS_CTS_ON = 0x10;
inline constexpr std::uint32_t MS_RLSD_ON = 0x80;

/// `GetLastError` where an operation goes on behind its call. None does in this system.
inline constexpr std::uint32_t ERROR_IO_PENDING = 997;

/// Limits of time in milliseconds: a read or write of n bytes takes at most the constant plus n
/// times the multiplier.
struct COMMTIMEOUTS {
    std::uint32_t ReadIntervalTimeout;  ///< Only 0xFFFFFFFF: no limit between two bytes.
    std::uint32_t ReadTotalTimeoutMultiplier;
    std::uint32_t ReadTotalTimeoutConstant;
    std::uint32_t WriteTotalTimeoutMultiplier;
    std::uint32_t WriteTotalTimeoutConstant;
};

/// The queues' lengths in bytes.
struct COMSTAT {
    std::uint32_t cbInQue = 0;
    std::uint32_t cbOutQue = 0;
};

/// Names the device behind the port name `name` from the next `CreateFileA` on; null takes that
/// back. From any thread.
void SetDevice(const char* name, const char* path);

/// Opens the port `name`, "\\.\COM1" and so on: the device that `SetDevice` named, else /dev/ttyS0
/// for the first and so on. Null where there is no such device, or it isn't a terminal, or somebody
/// has it open in this way, this process included and whatever their rights. Without root's rights
/// also where somebody ended without closing it while others have it open. It never becomes the
/// process's controlling terminal, and is closed on exec. Most devices raise DTR and RTS when they
/// are opened. The settings stay as they were, translations included, until `SetCommState`.
Handle CreateFileA(const char* name);

/// Lets out what is still to be sent, for at most 2 seconds, drops the rest and closes.
bool CloseHandle(Handle port);

/// Proposes sizes for the queues. The system's own are fixed, and larger than 2048 bytes.
bool SetupComm(Handle port, std::uint32_t inQueue, std::uint32_t outQueue);

/// Sets which events are noted. The system notes none, so only 0 is taken.
bool SetCommMask(Handle port, std::uint32_t mask);

/// The line as the device has it, and the other members as they were set last.
bool GetCommState(Handle port, DCB* state);

/// Applies all settings and makes the line transparent: every byte passes both ways as it is, once,
/// and a break is no byte. Any rate can be set. False, with nothing changed, for a member that
/// can't have its value and where the device takes only a rate that is off by over 2 %. DTR and RTS
/// move only where their member changes, so that those set by `EscapeCommFunction` stay; a device
/// without modem lines is no failure.
bool SetCommState(Handle port, const DCB* state);

bool SetCommTimeouts(Handle port, const COMMTIMEOUTS* timeouts);

/// Drops bytes that have arrived or wait to be sent.
bool PurgeComm(Handle port, std::uint32_t flags);

bool EscapeCommFunction(Handle port, std::uint32_t function);

/// On failure, as with a device without modem lines, `status` is 0.
bool GetCommModemStatus(Handle port, std::uint32_t* status);

/// Clears the port's error state, which the system does by itself, and counts the bytes in the
/// queues; those that a chip holds aren't counted. On failure both are 0.
bool ClearCommError(Handle port, COMSTAT* status);

/// Reads `size` bytes; fewer, also none, when the time is up. False where the device fails. Either
/// way `done` tells how many there are in `buffer`.
bool ReadFile(Handle port, void* buffer, std::uint32_t size, std::uint32_t* done);

/// Hands `size` bytes to the system; fewer, also none, when the time is up. False where the device
/// fails. Either way `done` tells how many were taken.
bool WriteFile(Handle port, const void* buffer, std::uint32_t size, std::uint32_t* done);

/// Why the calling thread's last operation that failed did so: the system's number.
std::uint32_t GetLastError();

}  // namespace platform::serial

#endif
