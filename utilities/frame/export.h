/// Marks what a client can link against; everything else stays inside the library.
#ifndef UTILITIES_FRAME_EXPORT_H
#define UTILITIES_FRAME_EXPORT_H

#define UTILITIES_EXPORT __attribute__((visibility("default")))

/// Marks a member of an exported class that is defined in a header, for the sake of time. The
/// source of the header's name defines `UTILITIES_EMIT_INLINE` in front of it and so exports the
/// member, as clients do that don't inline it.
#ifdef UTILITIES_EMIT_INLINE
#define UTILITIES_INLINE UTILITIES_EXPORT __attribute__((used)) inline
#else
#define UTILITIES_INLINE UTILITIES_EXPORT inline
#endif

/// Marks a member of an exported class that is not exported with it.
#define UTILITIES_LOCAL __attribute__((visibility("hidden")))

#endif
