/// The settings of a line by its descriptor. In a source of their own, as the system's headers for
/// lines of any rate don't go together with the C library's for terminals.
#ifndef UTILITIES_PLATFORM_LINUX_SERIAL_SETTINGS_H
#define UTILITIES_PLATFORM_LINUX_SERIAL_SETTINGS_H

#include "utilities/platform/types.h"

namespace platform::serial {

/// Reads rate, size, parity, stop bits and handshake into `state`. False, with `errno` set, for
/// what is no terminal.
bool ReadSettings(int descriptor, DCB& state);

/// Applies them all and makes the line transparent. False, with `errno` set and nothing changed,
/// where the system doesn't offer what `state` asks for, or the device doesn't take it.
bool ApplySettings(int descriptor, const DCB& state);

}  // namespace platform::serial

#endif
