/// Paths as text: cutting them into parts and joining them. `/` and `\` both end a directory and
/// `:` ends a drive, on every system; nothing looks at a disk.
#ifndef UTILITIES_PLATFORM_PATHPARTS_H
#define UTILITIES_PLATFORM_PATHPARTS_H

#include <cstddef>

#include "utilities/platform/types.h"

namespace platform {

/// Room for each of a path's parts, with its terminator, and for a whole path.
inline constexpr std::size_t DRIVE_CAPACITY = 3;
inline constexpr std::size_t PART_CAPACITY = 256;
inline constexpr std::size_t PATH_CAPACITY = 260;

/// The four parts, each terminated; joined they give the path again.
template <class Char>
struct PathParts {
    Char drive[DRIVE_CAPACITY];     ///< The first two characters where the second is `:`.
    Char directory[PART_CAPACITY];  ///< Up to and including the last `/` or `\`.
    Char name[PART_CAPACITY];       ///< What lies between directory and extension.
    Char extension[PART_CAPACITY];  ///< From the last `.` of what remains on, with it.
};

/// Cuts `path`. A part that is longer than its room is cut to fit.
void _splitpath(const char* path, PathParts<char>& parts);
void _wsplitpath(const WideChar* path, PathParts<WideChar>& parts);

/// Writes the parts behind each other, with what is missing: a `:` behind a drive, a `\` behind a
/// directory that ends in neither separator, a `.` ahead of an extension. An empty part adds
/// nothing. A path that has no room, with its terminator, comes out empty.
void _makepath(char (&path)[PATH_CAPACITY], const char* drive, const char* directory,
               const char* name, const char* extension);
void _wmakepath(WideChar (&path)[PATH_CAPACITY], const WideChar* drive, const WideChar* directory,
                const WideChar* name, const WideChar* extension);

}  // namespace platform

#endif
