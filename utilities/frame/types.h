/// The two types that stand for this platform in every interface.
#ifndef UTILITIES_FRAME_TYPES_H
#define UTILITIES_FRAME_TYPES_H

/// One unit of wide text: 16 bits, whatever the width of the system's `wchar_t`. Literals are
/// written `u"..."`. Operations look at single units; only the conversions between the widths treat
/// a surrogate pair as one character.
using WideChar = char16_t;

/// The 64-bit integer of the interfaces, a macro so that `unsigned __int64` can be written.
#define __int64 long long

#endif
