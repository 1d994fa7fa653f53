/// A serial port that is polled: ask how much has arrived, read what is there, write what fits.
#ifndef UTILITIES_SERIAL_CCOMM_H
#define UTILITIES_SERIAL_CCOMM_H

#include <cstdint>

#include "utilities/frame/export.h"
#include "utilities/frame/serialsettings.h"

/// Names the device of port `port`, for every later `Open` of that port. Without a name, and again
/// after a null `path`, port n is /dev/ttyS*n*. A path that doesn't exist or is not a terminal
/// makes `Open` fail. Any thread can call it.
UTILITIES_EXPORT void SetSerialDevice(int port, const char* path);

/// One serial port. The class has no thread: everything happens inside the caller's calls.
///
/// The line is transparent: every byte passes unchanged in both directions. The system queues at
/// most 2048 bytes for sending.
///
/// An open port is locked: no other `CComm` can open it, in any process and with any rights; other
/// programs can't either, unless they have root's rights. It never becomes the controlling terminal
/// of the process, and programs that the process starts don't inherit it.
///
/// On a closed port a call returns what its comment says; a call without a result does nothing.
///
/// After false, or 0 for a failure, `errno` holds the reason: EBADF for a closed port, EINVAL for
/// an argument that is refused or a setting that the device doesn't take, or the system's, such as
/// EIO for a device that has vanished. It means nothing after any other result.
///
/// When a device vanishes or the line hangs up, the port stays open until `Close`, but nothing is
/// received or sent any more and no setting is taken: bytes that were not read yet are lost, and so
/// are those that were queued but not sent, although `TxBuffer` has returned 1 for them.
///
/// A copy shares the port of its source, and only one of them may close it. Afterwards the others
/// behave as on a vanished device until they are closed, too. An assignment doesn't close the port
/// that its target had open. Objects that share a port must be used by one thread at a time; all
/// others are independent of each other.
///
/// A thread that is killed or cancelled in a call leaves the port as the object shows it: another
/// thread can go on using it or close it, also if the kill came in `Close`. In the child of a fork
/// the object can be used, but as long as the process that opened the port lives, it belongs to
/// that process: `Close` and the destructor, also at the child's exit, only give up the child's
/// share and don't touch the lines, the queue or the lock. When the owner closes the port, it can
/// be opened again at once, whether or not a child lives.
class UTILITIES_EXPORT CComm {
public:
    /// A closed port.
    CComm();
    CComm(const CComm& other);
    CComm& operator=(const CComm& other);

    /// As `Close`.
    ~CComm();

    /// Opens port `port`, counted from 0, raises DTR and RTS and drops what was received before. An
    /// open port is closed first. The other arguments are those of `SetPortA`; if they are refused,
    /// the port is open nevertheless, with the line settings of the device. Returns true if the
    /// port is open; false if the device doesn't exist (ENOENT), is not a terminal (ENOTTY), is in
    /// use (EBUSY) or can't be opened.
    bool Open(int port, long baud, char parity, int dataBits, int stopBits);

    /// Drops DTR and RTS, waits up to 2 seconds until the queued bytes are sent, drops the rest and
    /// closes.
    void Close();

    /// Whether `Open` has succeeded and `Close` was not called since, also if the device vanished.
    bool IsPortOpen();

    /// Returns a value that identifies the open port; after `Close` still that of the last port,
    /// null if there was none or the last `Open` failed. It is not a descriptor: it can't be given
    /// to `poll`, `select` or any other call of the system.
    void* GetCommHandle();

    /// Sets all line parameters, without waiting for queued bytes to be sent. Returns true if the
    /// device took them; false for a value that is refused, on a closed port, and if the device
    /// doesn't take them.
    ///
    /// `baud`: any rate up to 57600 that the device can do, to 2 %; 128000 sets 130816 and 256000
    /// sets 261888; all others, 115200 too, are refused. `parity`: N, O, E, M or S, in upper or
    /// lower case, for none, odd, even, mark and space; others are refused. `dataBits`: 5 to 8, of
    /// which the low byte counts. `stopBits`: 1 or 2; others are refused.
    ///
    /// When `parity` or `stopBits` is refused, the arguments before it, with `dataBits` before
    /// `parity`, are stored, and the next setter that succeeds applies them. What the device
    /// doesn't take is stored as well: every setter fails then until another value replaces it.
    bool SetPortA(long baud, char parity, int dataBits, int stopBits);

    /// Set one parameter after all queued bytes are sent. Return as `SetPortA`, and false also if
    /// they are not sent within 2 seconds (ETIMEDOUT).
    bool SetBaud(long baud);
    bool SetParity(char parity);

    /// Reads received bytes without waiting for more, at most `length`, into `buffer`. Returns
    /// their number; 0 if none waits (EAGAIN), for a `length` below 1 (EINVAL), on a closed port
    /// and on failure. `flag` is not used.
    unsigned long RxBuffer(unsigned char* buffer, int length, bool* flag);

    /// Queues bytes for sending. At most 2048 bytes may be queued; what doesn't fit is not taken.
    /// Returns 1 if all `length` bytes were taken, or if `length` is below 1; 0 otherwise: queue
    /// full or line held (EAGAIN), error, port closed. `TxSize` tells how many are queued.
    ///
    /// Each write waits up to 20 ms for a slow or held line. The first one that takes nothing is
    /// the last, and none begins after 2 seconds. The result is 1 only if one write took all bytes.
    /// `flag` has no effect.
    unsigned long TxBuffer(unsigned char* buffer, int length, bool flag);

    /// The number of received bytes that wait to be read, and of bytes queued for sending, without
    /// those in the device's own buffers; 0 on a closed port and on failure, which can be told from
    /// an empty queue by an `errno` that was 0 before.
    long RxSize();
    long TxSize();

    /// Drop the received bytes, and the queued ones.
    void ClearRXBuffer();
    void ClearTXBuffer();

    /// Raise or drop DTR and RTS.
    void SetDtr(bool on);
    void SetRts(bool on);

    /// The states of carrier detect and clear to send; false if the device has no such lines.
    bool GetCd();
    bool GetCTS();

    /// Turns hardware handshake by RTS and CTS on or off; it is off after `Open`. Off, CTS is
    /// ignored, and RTS is raised if the handshake was on. RTS that `SetRts(false)` has dropped
    /// stays so when the handshake was off before.
    void UseRtsCts(bool on);

    /// No effect: a port sends and receives at any time.
    void SetDirection(unsigned char direction);

    /// Always false.
    bool GetOverrunError();

private:
    UTILITIES_LOCAL bool IsUsable();
    UTILITIES_LOCAL bool StoreBaud(long baud);
    UTILITIES_LOCAL bool StoreParity(char parity);
    UTILITIES_LOCAL bool StoreStopBits(int stopBits);
    UTILITIES_LOCAL bool IsAllSent();
    UTILITIES_LOCAL bool Apply();

    void* portHandle;
    DCB portState;  ///< What the next setter applies, all of it.
    std::int32_t portOpen;
};

#endif
