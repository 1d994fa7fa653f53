/// A serial port that is polled: how much has arrived, read what is there, write what fits.
#ifndef UTILITIES_SERIAL_CCOMM_H
#define UTILITIES_SERIAL_CCOMM_H

#include <cstdint>

#include "utilities/frame/export.h"
#include "utilities/platform/types.h"

/// Names the device behind port `port`, from the next `Open` of that port on. Port n is
/// /dev/ttyS*n* otherwise, and again where `path` is null. A path that names nothing, or no
/// terminal, makes `Open` fail. From any thread.
UTILITIES_EXPORT void SetSerialDevice(int port, const char* path);

/// One port, of which everything happens inside the caller's calls.
///
/// The line is transparent: each byte passes both ways as it is, once. While a port is open nobody
/// else can open it by this class, in any process and with any rights, and other programs without
/// root's rights can't either. It never becomes the process's controlling terminal, and programs
/// that the process starts don't inherit it.
///
/// At most 2048 bytes wait to be sent. A call for a closed port has the result named with it; one
/// without a result has no effect. A device that vanishes leaves the port open, with nothing
/// waiting, nothing sent and no setting taken.
///
/// A copy shares the port of its source, and only one of them may close it; the others, on which it
/// then fails as on a vanished device, think that it is open until they are closed too. An
/// assignment drops what its target held, which stays open then. No lock is taken: objects that
/// share a port serve one thread at a time, all others are independent.
class UTILITIES_EXPORT CComm {
public:
    /// Closed.
    CComm();
    CComm(const CComm& other);
    CComm& operator=(const CComm& other);

    /// As `Close`.
    ~CComm();

    /// Opens port `port`, counted from 0, and raises DTR and RTS; what had arrived before is
    /// dropped. An open port is closed first. The rest is as for `SetPortA`, but when that refuses
    /// the port is open all the same, with the line settings that the device has. False where there
    /// is no such device or somebody has it open: closed then.
    bool Open(int port, long baud, char parity, int dataBits, int stopBits);

    /// Drops DTR and RTS and closes. What the system has still to send goes out, for at most 2
    /// seconds; then it is lost.
    void Close();

    bool IsPortOpen();

    /// A value that stands for the open port; that of the last one after it was closed, and null
    /// where there was none or it couldn't be opened.
    void* GetCommHandle();

    /// Sets all line parameters at once, without waiting for what is still to be sent. False on a
    /// closed port, for a value that is refused, and where the device doesn't take the settings.
    ///
    /// `baud`: up to 57600 any rate that the device can do, to 2 %; 128000 stands for 130816 and
    /// 256000 for 261888; all others are refused. `parity`: N, O, E, M or S for none, odd, even,
    /// mark and space, of either case. `dataBits`: 5 to 8, of which only the low byte counts.
    /// `stopBits`: 1 or 2.
    ///
    /// What comes before a refused parity or number of stop bits in the order of the arguments,
    /// with `dataBits` before `parity`, is kept and applied by the next setter that succeeds.
    bool SetPortA(long baud, char parity, int dataBits, int stopBits);

    /// Set one of them, once all is sent. They ask for that without a pause, and give up after 2
    /// seconds: false, as for a closed port, a value that is refused and settings that aren't
    /// taken.
    bool SetBaud(long baud);
    bool SetParity(char parity);

    /// Reads what is waiting, up to `length` bytes, and gives their number; 0 on a closed port and
    /// for a `length` below 1. `buffer` must have room for them. `flag` isn't touched.
    unsigned long RxBuffer(unsigned char* buffer, int length, bool* flag);

    /// Sends of the `length` bytes at `buffer` as many as 2048 less those that are still to be
    /// sent. 1 where all of them went out in one piece, which takes the system at most 20 ms; else
    /// 0, and how many it were shows in `TxSize`. It goes on piece by piece until one is empty, as
    /// on a line that is held, or fails. A `length` below 1 gives 1, also on a closed port; else
    /// that gives 0. `flag` has no effect.
    unsigned long TxBuffer(unsigned char* buffer, int length, bool flag);

    /// The bytes that wait to be read and to be sent; 0 on a closed port.
    long RxSize();
    long TxSize();

    /// Drop them.
    void ClearRXBuffer();
    void ClearTXBuffer();

    void SetDtr(bool on);
    void SetRts(bool on);

    /// Carrier detect and clear to send; false where the device has no such lines.
    bool GetCd();
    bool GetCTS();

    /// Hardware handshake by RTS and CTS. Without it, as after `Open`, RTS is raised and CTS
    /// ignored.
    void UseRtsCts(bool on);

    /// No effect: a port sends and receives at any time.
    void SetDirection(unsigned char direction);

    /// False, always.
    bool GetOverrunError();

private:
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
