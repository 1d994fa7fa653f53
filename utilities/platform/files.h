/// Files by name.
#ifndef UTILITIES_PLATFORM_FILES_H
#define UTILITIES_PLATFORM_FILES_H

#include <cstdio>

#include "utilities/frame/filestatus.h"

namespace platform {

/// Reads the status of what `path` names, links followed, into `status`. 0, or -1 where there is
/// nothing or it can't be reached. In this system's text mode a newline is one byte.
int _stat(const char* path, struct ::_stat* status);

/// Gives `from` the name `to`; an existing file of that name is replaced. 0, or -1 with nothing
/// changed.
int rename(const char* from, const char* to);

/// Opens a buffered file with the standard's `mode`. The descriptor is closed on exec. Null on
/// failure.
std::FILE* fopen(const char* path, const char* mode);

}  // namespace platform

#endif
