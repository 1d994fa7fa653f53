/// Reading hexadecimal numbers.
#ifndef UTILITIES_SERVICES_HEXNUMBER_H
#define UTILITIES_SERVICES_HEXNUMBER_H

#include "utilities/frame/export.h"

/// Returns the value of the hexadecimal digits, in upper or lower case, at the start of `text`,
/// which must not be null; 0 if there is none. A sign, a blank or `0x` is not skipped. Only the
/// last eight digits count; overflow is not reported. `end`, unless it is null, receives the
/// position of the first character that is not a digit. Any thread can call it.
UTILITIES_EXPORT unsigned int HexAToUint(const char* text, const char** end);

#endif
