/// Who reads and writes a file, and who denies that to others.
#ifndef UTILITIES_PLATFORM_LINUX_SHARING_H
#define UTILITIES_PLATFORM_LINUX_SHARING_H

namespace platform {

/// What an opener does, and what it denies to others.
enum Sharing : unsigned int {
    SHARING_READS = 1,
    SHARING_WRITES = 2,
    SHARING_DENIES_READS = 4,
    SHARING_DENIES_WRITES = 8
};

/// Enters the opener whose descriptor is `file`, which must be readable, in the file itself, until
/// it is closed. False, with `errno` set, where it doesn't go together with one that is entered
/// already.
bool EnterOpener(int file, unsigned int sharing);

/// The same for one that can only write, and denies everything.
bool EnterSoleWriter(int file);

}  // namespace platform

#endif
