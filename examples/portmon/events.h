/// Waiting for the device and for the standard input.
#ifndef PORTMON_EVENTS_H
#define PORTMON_EVENTS_H

#include "utilities/utilities.h"

/// What there is to do.
struct Event {
    bool hasInput;  ///< The standard input can be read.
    bool hasSpace;  ///< The device takes at least a few hundred bytes.
    bool isGone;    ///< The device has vanished.
};

/// A port can't be waited for. So this has a descriptor of its own on the device, from before the
/// port makes it exclusive, on which nothing is read, written or set.
class Events {
public:
    /// A device that can't be opened never has events; the port tells why.
    explicit Events(const String& devicePath);
    ~Events();
    Events(const Events&) = delete;
    Events& operator=(const Events&) = delete;

    /// Waits at most `milliseconds` for something to arrive and for what is asked for. An interrupt
    /// ends the wait.
    Event Wait(bool forInput, bool forSpace, int milliseconds) const;

private:
    int m_Device;
};

#endif
