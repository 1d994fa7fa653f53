/// Paths as text: cutting them into parts and joining them. `/` and `\` both end a directory and
/// `:` ends a drive, on every system; nothing looks at a disk.
#ifndef UTILITIES_RUNTIME_PATHPARTS_H
#define UTILITIES_RUNTIME_PATHPARTS_H

#include <cstddef>

#include "utilities/frame/types.h"

namespace runtime {

/// The capacity of each of a path's parts and of a whole path, terminator included.
inline constexpr std::size_t DRIVE_CAPACITY = 3;
inline constexpr std::size_t PART_CAPACITY = 256;
inline constexpr std::size_t PATH_CAPACITY = 260;

/// The four parts, each terminated; joined they are the path again.
template <class Char>
struct PathParts {
    Char drive[DRIVE_CAPACITY];     ///< The first two characters if the second is `:`.
    Char directory[PART_CAPACITY];  ///< Up to and including the last `/` or `\`.
    Char name[PART_CAPACITY];       ///< Between directory and extension.
    Char extension[PART_CAPACITY];  ///< From the last `.` of the rest on, with it.
};

/// Cuts `path` into its parts. A part beyond its capacity keeps its first characters.
void _splitpath(const char* path, PathParts<char>& parts);
void _wsplitpath(const WideChar* path, PathParts<WideChar>& parts);

/// Writes the parts one after the other and adds what is missing: a `:` after a drive, a `\` after
/// a directory that ends in neither separator, a `.` in front of an extension. An empty part adds
/// nothing. A path beyond its capacity comes out empty. No argument may be null.
void _makepath(char (&path)[PATH_CAPACITY], const char* drive, const char* directory,
               const char* name, const char* extension);
void _wmakepath(WideChar (&path)[PATH_CAPACITY], const WideChar* drive, const WideChar* directory,
                const WideChar* name, const WideChar* extension);

}  // namespace runtime

#endif
