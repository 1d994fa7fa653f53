/// Watches one port.
#ifndef PORTMON_MONITOR_H
#define PORTMON_MONITOR_H

#include <string>

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

/// Everything that fails is thrown as `std::runtime_error`.
class Monitor {
public:
    /// Opens the device.
    Monitor(const String& devicePath, const LineSettings& settings, bool inHexadecimal);

    /// Shows what arrives and the state of the port whenever a modem line changes, and sends the
    /// lines of the standard input, until an interrupt.
    void Run();

private:
    void Receive();
    void TakeLine();
    void Send();
    void ShowState();
    bool HaveLinesChanged();
    void StopIfGone() const;

    String device;
    CComm port;
    Arrivals arrivals;
    Input input;
    std::string outgoing;  ///< What is still to be handed to the port.
    bool hasCarrier = false;
    bool isClearToSend = false;
};

#endif
