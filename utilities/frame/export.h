/// What a client can link against is marked with this; all else stays inside the library.
#ifndef UTILITIES_FRAME_EXPORT_H
#define UTILITIES_FRAME_EXPORT_H

#define UTILITIES_EXPORT __attribute__((visibility("default")))

/// A member of an exported class that is the library's own all the same.
#define UTILITIES_LOCAL __attribute__((visibility("hidden")))

#endif
