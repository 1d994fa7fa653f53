#include "utilities/serial/ccomm.h"

// `portState` is a working copy of the port's settings. A setter changes the copy and applies all
// of it; a setter that refuses an argument leaves what it has stored so far in the copy, for the
// next setter. Nothing in it is checked against the device before it is applied.
//
// The handle is a plain value, which copies of the object share. After one of them has closed the
// port, the handle is stale, and every operation of the platform fails on it, also while the same
// device is open again under another handle. So no copy needs to know of the others.

#include <algorithm>
#include <iterator>

#include "utilities/frame/errno_internal.h"
#include "utilities/platform/canceldeferral.h"
#include "utilities/platform/clock.h"
#include "utilities/platform/serial.h"
#include "utilities/platform/stopdeferral.h"
#include "utilities/text/qelstring.h"

namespace serial = platform::serial;

namespace {

constexpr std::uint32_t QUEUE_BYTES = 2048;

// How long to wait until the queue is sent, and how long a send may take on a line that takes only
// a few bytes at a time: 2048 bytes take about 2 seconds at 9600 baud.
constexpr std::uint32_t SENT_MILLISECONDS = 2000;

// A read takes what has arrived, within 100 ms; a write waits 20 ms for a slow or held line.
constexpr serial::COMMTIMEOUTS TIMEOUTS = {0xFFFFFFFF, 0, 100, 0, 20};

// Rates up to the highest are stored as requested, above it only those of the table, which the
// interface sets to other values.
constexpr long HIGHEST_BAUD = 57600;
constexpr struct {
    long requested;
    std::uint32_t stored;
} FAST_BAUDS[] = {{128000, 130816}, {256000, 261888}};

constexpr struct {
    char upper;
    char lower;
    unsigned char stored;
} PARITIES[] = {{'N', 'n', serial::NOPARITY},
                {'O', 'o', serial::ODDPARITY},
                {'E', 'e', serial::EVENPARITY},
                {'M', 'm', serial::MARKPARITY},
                {'S', 's', serial::SPACEPARITY}};

/// The port name of the platform, which counts from 1. The largest `int` wraps to a name without a
/// device.
String NameOf(int port) {
    String name;
    name.Format("\\\\.\\COM%d", static_cast<int>(static_cast<unsigned int>(port) + 1));
    return name;
}

serial::COMSTAT StatusOf(void* port) {
    serial::COMSTAT status;
    serial::ClearCommError(port, &status);
    return status;
}

/// Must be the first call after a transfer that failed, whose reason it keeps.
void ClearErrorOf(void* port) {
    const ScopedErrno untilCleared;
    if (serial::GetLastError() != serial::ERROR_IO_PENDING)
        StatusOf(port);
}

/// Sets everything but the line parameters: DTR and RTS raised, no flow control, no byte special.
void Prepare(DCB& state) {
    state.fBinary = true;
    state.fParity = false;
    state.fOutxCtsFlow = false;
    state.fOutxDsrFlow = false;
    state.fDtrControl = serial::DTR_CONTROL_ENABLE;
    state.fDsrSensitivity = false;
    state.fTXContinueOnXoff = true;
    state.fOutX = false;
    state.fInX = false;
    state.fErrorChar = false;
    state.fNull = false;
    state.fRtsControl = serial::RTS_CONTROL_ENABLE;
    state.fAbortOnError = false;
    state.XonLim = 256;
    state.XoffLim = 256;
    state.XonChar = 0x11;
    state.XoffChar = 0x13;
    state.EofChar = 0;
    state.EvtChar = 0;
}

}  // namespace

void SetSerialDevice(int port, const char* path) { serial::SetDevice(NameOf(port).c_str(), path); }

CComm::CComm() : portHandle(nullptr), portOpen(0) {}

CComm::CComm(const CComm&) = default;
CComm& CComm::operator=(const CComm&) = default;
CComm::~CComm() { Close(); }

bool CComm::Open(int port, long baud, char parity, int dataBits, int stopBits) {
    Close();
    const String name = NameOf(port);
    {
        const platform::StopDeferral untilStored;
        portHandle = serial::CreateFileA(name.c_str());
        portOpen = portHandle != nullptr ? 1 : 0;
    }
    if (!IsPortOpen())
        return false;
    serial::SetupComm(portHandle, QUEUE_BYTES, QUEUE_BYTES);
    serial::SetCommMask(portHandle, 0);
    serial::GetCommState(portHandle, &portState);
    Prepare(portState);
    Apply();
    SetPortA(baud, parity, dataBits, stopBits);
    serial::SetCommTimeouts(portHandle, &TIMEOUTS);
    ClearRXBuffer();
    ClearTXBuffer();
    return true;
}

void CComm::Close() {
    if (IsPortOpen()) {
        const platform::CancelDeferral noCancel;  // The destructor calls this.
        if (serial::IsOwner(portHandle)) {
            SetDtr(false);
            SetRts(false);
        }
        serial::CloseHandle(portHandle);
    }
    portOpen = 0;
}

bool CComm::IsPortOpen() { return portOpen == 1; }

void* CComm::GetCommHandle() { return portHandle; }

bool CComm::IsUsable() { return IsPortOpen() || FailWith(EBADF); }

bool CComm::StoreBaud(long baud) {
    const auto fast = std::find_if(std::begin(FAST_BAUDS), std::end(FAST_BAUDS),
                                   [baud](const auto& rate) { return rate.requested == baud; });
    if (baud > HIGHEST_BAUD && fast == std::end(FAST_BAUDS))
        return FailWith(EINVAL);
    portState.BaudRate = baud > HIGHEST_BAUD ? fast->stored : static_cast<std::uint32_t>(baud);
    return true;
}

bool CComm::StoreParity(char parity) {
    const auto found = std::find_if(
        std::begin(PARITIES), std::end(PARITIES),
        [parity](const auto& row) { return row.upper == parity || row.lower == parity; });
    if (found == std::end(PARITIES))
        return FailWith(EINVAL);
    portState.Parity = found->stored;
    return true;
}

bool CComm::StoreStopBits(int stopBits) {
    if (stopBits != 1 && stopBits != 2)
        return FailWith(EINVAL);
    portState.StopBits = stopBits == 1 ? serial::ONESTOPBIT : serial::TWOSTOPBITS;
    return true;
}

bool CComm::IsAllSent() {
    const std::uint32_t start = platform::GetTickCount();
    while (StatusOf(portHandle).cbOutQue != 0) {
        if (platform::GetTickCount() - start >= SENT_MILLISECONDS)
            return FailWith(ETIMEDOUT);
        platform::Sleep(1);
    }
    return true;
}

bool CComm::Apply() { return serial::SetCommState(portHandle, &portState); }

bool CComm::SetPortA(long baud, char parity, int dataBits, int stopBits) {
    if (!IsUsable() || !StoreBaud(baud))
        return false;
    portState.ByteSize = static_cast<unsigned char>(dataBits);
    return StoreParity(parity) && StoreStopBits(stopBits) && Apply();
}

bool CComm::SetBaud(long baud) { return IsUsable() && IsAllSent() && StoreBaud(baud) && Apply(); }

bool CComm::SetParity(char parity) {
    return IsUsable() && IsAllSent() && StoreParity(parity) && Apply();
}

unsigned long CComm::RxBuffer(unsigned char* buffer, int length, bool*) {
    serial::COMSTAT status;
    if (!IsUsable() || !serial::ClearCommError(portHandle, &status))
        return 0;
    errno = length > 0 ? EAGAIN : EINVAL;
    if (status.cbInQue == 0 || length <= 0)
        return 0;
    const auto count = std::min(status.cbInQue, static_cast<std::uint32_t>(length));
    std::uint32_t done = 0;
    if (!serial::ReadFile(portHandle, buffer, count, &done))
        ClearErrorOf(portHandle);
    return done;
}

unsigned long CComm::TxBuffer(unsigned char* buffer, int length, bool) {
    if (length <= 0)
        return 1;
    if (!IsUsable())
        return 0;
    const auto size = static_cast<std::uint32_t>(length);
    // The system's own queue is longer.
    const std::uint32_t waiting = std::min(StatusOf(portHandle).cbOutQue, QUEUE_BYTES);
    const std::uint32_t budget = std::min(QUEUE_BYTES - waiting, size);
    const std::uint32_t start = platform::GetTickCount();
    std::uint32_t done = 0;
    for (std::uint32_t sent = 0; sent < budget; sent += done) {
        if (!serial::WriteFile(portHandle, buffer + sent, budget - sent, &done)) {
            ClearErrorOf(portHandle);
            return 0;
        }
        if (done == 0 || platform::GetTickCount() - start >= SENT_MILLISECONDS)
            break;
    }
    return done >= size ? 1 : FailWith(EAGAIN);
}

long CComm::RxSize() { return IsUsable() ? long{StatusOf(portHandle).cbInQue} : 0; }

long CComm::TxSize() { return IsUsable() ? long{StatusOf(portHandle).cbOutQue} : 0; }

void CComm::ClearRXBuffer() { serial::PurgeComm(portHandle, serial::PURGE_RXCLEAR); }

void CComm::ClearTXBuffer() {
    serial::PurgeComm(portHandle, serial::PURGE_TXABORT | serial::PURGE_TXCLEAR);
}

void CComm::SetDtr(bool on) {
    serial::EscapeCommFunction(portHandle, on ? serial::SETDTR : serial::CLRDTR);
}

void CComm::SetRts(bool on) {
    serial::EscapeCommFunction(portHandle, on ? serial::SETRTS : serial::CLRRTS);
}

bool CComm::GetCd() {
    std::uint32_t status = 0;
    serial::GetCommModemStatus(portHandle, &status);
    return (status & serial::MS_RLSD_ON) != 0;
}

bool CComm::GetCTS() {
    std::uint32_t status = 0;
    serial::GetCommModemStatus(portHandle, &status);
    return (status & serial::MS_CTS_ON) != 0;
}

void CComm::UseRtsCts(bool on) {
    serial::GetCommState(portHandle, &portState);
    portState.fOutxCtsFlow = on;
    portState.fRtsControl = on ? serial::RTS_CONTROL_HANDSHAKE : serial::RTS_CONTROL_ENABLE;
    Apply();
}

void CComm::SetDirection(unsigned char) {}

bool CComm::GetOverrunError() { return false; }
