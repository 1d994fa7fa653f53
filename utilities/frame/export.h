/// Marks what a client can link against; everything else stays inside the library.
#ifndef UTILITIES_FRAME_EXPORT_H
#define UTILITIES_FRAME_EXPORT_H

#define UTILITIES_EXPORT __attribute__((visibility("default")))

/// Marks a member of an exported class that is not exported with it.
#define UTILITIES_LOCAL __attribute__((visibility("hidden")))

#endif
