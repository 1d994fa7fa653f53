/// The settings of a line by its descriptor. They have a source of their own because the system's
/// header for arbitrary rates (asm/termbits.h) and the C library's termios.h exclude each other.
#ifndef UTILITIES_PLATFORM_LINUX_SERIAL_SERIAL_SETTINGS_H
#define UTILITIES_PLATFORM_LINUX_SERIAL_SERIAL_SETTINGS_H

#include "utilities/frame/serialsettings.h"

namespace platform::serial {

/// Reads rate, size, parity, stop bits and handshake into `state`. Returns false, with `errno` set,
/// for anything that is not a terminal.
bool ReadSettings(int descriptor, DCB& state);

/// Applies them all and makes the line transparent. Returns false, with `errno` set and nothing
/// changed, if the system doesn't offer what `state` asks for, or the device doesn't take it.
bool ApplySettings(int descriptor, const DCB& state);

}  // namespace platform::serial

#endif
