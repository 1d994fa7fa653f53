/// Serial lines that are polled and have one user at a time: bytes, settings, modem lines, queues.
///
/// A handle is a plain value. An operation on a handle that is null, was never returned or was
/// closed fails, and so does one on a device that has vanished. No operation waits unless its
/// comment says so, and no signal ends one early. Any thread can call them, before the first and
/// after the last static object, too; one port is used by one thread at a time, but another thread
/// may close it.
///
/// A thread that is killed in an operation leaves the port as another thread can use and close it.
/// A suspension or kill is deferred for at most about 20 ms, and a cancellation to the operation's
/// end. In the child of a fork an open port can be used, too, but belongs to the process that
/// opened it, see `CloseHandle`.
///
/// The names are also those of operations on files and other handles, so they have a namespace of
/// their own.
#ifndef UTILITIES_PLATFORM_SERIAL_H
#define UTILITIES_PLATFORM_SERIAL_H

#include <cstdint>

#include "utilities/frame/serialsettings.h"

namespace platform::serial {

using Handle = void*;

/// Values of the members of `DCB`.
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

/// The flags of `PurgeComm`: what is dropped.
inline constexpr std::uint32_t PURGE_TXABORT = 1;
inline constexpr std::uint32_t PURGE_TXCLEAR = 4;
inline constexpr std::uint32_t PURGE_RXCLEAR = 8;

/// The functions of `EscapeCommFunction`.
inline constexpr std::uint32_t SETRTS = 3;
inline constexpr std::uint32_t CLRRTS = 4;
inline constexpr std::uint32_t SETDTR = 5;
inline constexpr std::uint32_t CLRDTR = 6;

/// The bits of `GetCommModemStatus`.
inline constexpr std::uint32_t MS_CTS_ON = 0x10;
inline constexpr std::uint32_t MS_RLSD_ON = 0x80;

/// `GetLastError` after a transfer that goes on when its call has returned. None does on this
/// system.
inline constexpr std::uint32_t ERROR_IO_PENDING = 997;

/// Time limits in milliseconds: a read or write of n bytes takes at most the constant plus n times
/// the multiplier.
struct COMMTIMEOUTS {
    std::uint32_t ReadIntervalTimeout;  ///< Only 0xFFFFFFFF: no limit between two bytes.
    std::uint32_t ReadTotalTimeoutMultiplier;
    std::uint32_t ReadTotalTimeoutConstant;
    std::uint32_t WriteTotalTimeoutMultiplier;
    std::uint32_t WriteTotalTimeoutConstant;
};

/// The lengths of the receive and the send queue in bytes.
struct COMSTAT {
    std::uint32_t cbInQue = 0;
    std::uint32_t cbOutQue = 0;
};

/// Names the device of the port name `name` for every later `CreateFileA`; null restores the usual
/// device. If memory runs out, the name stands for the same device as before.
void SetDevice(const char* name, const char* path);

/// Opens the port `name`, "\\.\COM1" and so on: the device that `SetDevice` named, otherwise
/// /dev/ttyS0 for the first and so on. Returns null if the device doesn't exist, is not a terminal,
/// or is already open by this function, in any process and with any rights. Without root's rights
/// it also fails after a process ended without closing the port, as long as any process has the
/// device open. The device never becomes the controlling terminal, and is closed on exec. Most
/// devices raise DTR and RTS when they are opened. The settings stay as they were, also those that
/// translate bytes, until `SetCommState`.
Handle CreateFileA(const char* name);

/// Whether the port belongs to the calling process: it has opened it, or was forked from the
/// process that has, and that one is gone. False also for a handle that is not open.
bool IsOwner(Handle port);

/// Waits up to 2 seconds until the queued bytes are sent, drops the rest and closes. The device can
/// be opened again then, also while children of a fork have copies of the descriptor. A process
/// that isn't the owner only closes its own copy, without waiting: queue, lock and exclusive mode
/// stay as they are. A thread that is killed in the wait leaves the port open.
bool CloseHandle(Handle port);

/// Proposes the capacities of the queues. Those of the system are fixed, and larger than 2048
/// bytes, so the proposal has no effect.
bool SetupComm(Handle port, std::uint32_t inQueue, std::uint32_t outQueue);

/// Selects the events to record. The system records none, so only 0 is accepted.
bool SetCommMask(Handle port, std::uint32_t mask);

/// Reads rate, size, parity, stop bits and handshake from the device; the other members are as they
/// were set last.
bool GetCommState(Handle port, DCB* state);

/// Applies all settings and makes the line transparent: every byte passes unchanged in both
/// directions, and a break adds no byte. Any rate can be asked for. Returns false, with nothing
/// changed, if a member has a value that the system doesn't offer, or the device doesn't take a
/// line setting as it was asked for, with a rate that is off by more than 2 %. DTR and RTS move
/// only if their member changes, so that those set by `EscapeCommFunction` stay; a device without
/// modem lines is not a failure.
bool SetCommState(Handle port, const DCB* state);

bool SetCommTimeouts(Handle port, const COMMTIMEOUTS* timeouts);

/// Drops received bytes, or those queued for sending.
bool PurgeComm(Handle port, std::uint32_t flags);

/// Raises or drops DTR or RTS. Fails for a device without modem lines.
bool EscapeCommFunction(Handle port, std::uint32_t function);

/// Reads the states of the modem lines. On failure, as for a device without them, `status` is 0.
bool GetCommModemStatus(Handle port, std::uint32_t* status);

/// Counts the bytes in the queues, without those in the device's own buffers. On failure both
/// counts are 0. The error state that the name speaks of doesn't exist on this system.
bool ClearCommError(Handle port, COMSTAT* status);

/// Reads `size` bytes; fewer, or none, when the time is up. Returns false if the device fails. Sets
/// `done` to the number of bytes read in both cases.
bool ReadFile(Handle port, void* buffer, std::uint32_t size, std::uint32_t* done);

/// Queues `size` bytes for sending; fewer, or none, when the time is up. Returns false if the
/// device fails. Sets `done` to the number of bytes queued in both cases.
bool WriteFile(Handle port, const void* buffer, std::uint32_t size, std::uint32_t* done);

/// The system's error number of the calling thread's last operation that failed.
std::uint32_t GetLastError();

}  // namespace platform::serial

#endif
