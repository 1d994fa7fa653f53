/// Shows what happens on one serial port.
#ifndef PORTMON_MONITOR_H
#define PORTMON_MONITOR_H

#include <string>

#include "events.h"
#include "input.h"
#include "rows.h"
#include "utilities/utilities.h"

struct LineSettings {
    long baud;
    char parity;
    int dataBits;
    int stopBits;
    bool hasHandshake;
};

/// An open port, what arrives on it and what is still to be sent. A failure is thrown as
/// `std::runtime_error` with the device's name.
class Monitor {
public:
    /// Opens the device, which fails where it is in use or doesn't take the settings. What arrives
    /// is shown as text or in hexadecimal.
    Monitor(const String& devicePath, const LineSettings& settings, bool inHexadecimal);

    /// Shows what arrives, shows the state of the port whenever a modem line changes, and sends the
    /// lines of the standard input as fast as the line takes them; what it doesn't take waits.
    /// Returns after an interrupt; throws when the device has gone.
    void Run();

private:
    bool Wait();
    void Receive();
    void TakeLines();
    void Send();
    void ReportHeldLine();
    void ShowState();
    bool HaveLinesChanged();

    String m_Device;
    Events m_Events;  ///< Opens the device first.
    CComm m_Port;
    Arrivals m_Arrivals;
    Input m_Input;
    std::string m_Outgoing;       ///< Bytes that the port has not taken yet.
    unsigned int m_LastSent = 0;  ///< Milliseconds, as of `GetSystemTickCount`.
    bool m_IsHeld = false;        ///< It has been shown that nothing is taken.
    bool m_HasCarrier = false;
    bool m_IsClearToSend = false;
};

#endif
