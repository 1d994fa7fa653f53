/// The static objects that belong to no class. They are built when the library is loaded, in the
/// order in which their source defines them, and destroyed in reverse when it is unloaded.
#ifndef UTILITIES_FRAME_STATIC_OBJECTS_INTERNAL_H
#define UTILITIES_FRAME_STATIC_OBJECTS_INTERNAL_H

#include "utilities/text/qelstring.h"

/// The content of the two paths. The log is written through it, as a client may do so after the
/// objects are gone.
inline constexpr char STATUS_LOG_CURRENT[] = "./vy-current-status";
inline constexpr char STATUS_LOG_LAST_STOP[] = "./vy-last-stop-status";

extern const String StatusLogCurrentPath;
extern const String StatusLogLastStopPath;

/// The texts of the boolean values, "0" and "1".
extern const String NarrowFalseText;
extern const String NarrowTrueText;
extern const WString WideFalseText;
extern const WString WideTrueText;

#endif
