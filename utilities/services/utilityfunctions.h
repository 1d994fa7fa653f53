/// Small functions that stand alone. All can be called from any thread.
#ifndef UTILITIES_SERVICES_UTILITYFUNCTIONS_H
#define UTILITIES_SERVICES_UTILITYFUNCTIONS_H

#include "utilities/frame/export.h"

/// The value of the hexadecimal digits, of either letter case, with which `text` begins. No sign,
/// no blank and no 0x is skipped. Without a digit the value is 0; of more than eight digits only
/// the last eight count, unreported. `end`, unless it is null, gets the place of the first
/// character that is no digit. `text` must not be null.
UTILITIES_EXPORT unsigned int HexAToUint(const char* text, const char** end);

/// An entry point without effect: there is no digital output here.
UTILITIES_EXPORT void SetDigOut(bool state);

#endif
