/// The static objects that belong to no class. They are built when the library is loaded, in the
/// order in which their source defines them, and destroyed in reverse when it is unloaded.
#ifndef UTILITIES_FRAME_STATIC_OBJECTS_INTERNAL_H
#define UTILITIES_FRAME_STATIC_OBJECTS_INTERNAL_H

#include "utilities/text/qelstring.h"

/// What the objects hold. The library reads these and not the objects, as a client may call it
/// after they are gone, from destructors of its own static objects.
inline constexpr char STATUS_LOG_CURRENT[] = "./vy-current-status";
inline constexpr char STATUS_LOG_LAST_STOP[] = "./vy-last-stop-status";
inline constexpr char NARROW_FALSE[] = "0";
inline constexpr WideChar WIDE_FALSE[] = u"0";

extern const String StatusLogCurrentPath;
extern const String StatusLogLastStopPath;

/// The texts of the boolean values, "0" and "1".
extern const String NarrowFalseText;
extern const String NarrowTrueText;
extern const WString WideFalseText;
extern const WString WideTrueText;

#endif
