/// The types in which every interface of the library speaks of this platform.
#ifndef UTILITIES_PLATFORM_TYPES_H
#define UTILITIES_PLATFORM_TYPES_H

#include <sys/stat.h>

#include <cstdint>

/// One unit of wide text: 16 bits, whatever the width of the system's `wchar_t`. Literals are
/// written `u"..."`. Operations look at single units; surrogate pairs get no special handling
/// but in the conversions between the widths.
using WideChar = char16_t;

/// The 64-bit integer of the interfaces, a macro so that `unsigned __int64` can be written.
#define __int64 long long

/// The file status of the file-system functions: the system's record under its portable name.
struct _stat : stat {};

#endif
