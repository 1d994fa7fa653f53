/// Undoing what has made a file longer.
#ifndef UTILITIES_PLATFORM_LINUX_FILES_APPENDING_H
#define UTILITIES_PLATFORM_LINUX_FILES_APPENDING_H

#include <cstdint>

namespace platform {

/// Gives the file its former length `length` if it still ends at `end`, where the caller's own
/// bytes end: what others have added after them stays. `errno` stays as well.
void TakeBack(int file, std::int64_t length, std::int64_t end);

}  // namespace platform

#endif
