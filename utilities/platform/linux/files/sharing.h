/// Share modes: what openers of a file do with it, and what they deny to others meanwhile.
#ifndef UTILITIES_PLATFORM_LINUX_FILES_SHARING_H
#define UTILITIES_PLATFORM_LINUX_FILES_SHARING_H

namespace platform {

/// An opener's access and what it denies; each bit has a lock byte in the file.
enum Sharing : unsigned int {
    SHARING_READS = 1,
    SHARING_WRITES = 2,
    SHARING_DENIES_READS = 4,
    SHARING_DENIES_WRITES = 8
};

/// What the entry of an opener came to.
enum class Entry {
    REFUSED,        ///< With EACCES: it and an opener before it don't go together.
    WITHOUT_LOCKS,  ///< The file system has none, so nobody is refused.
    DONE
};

/// Enters an opener in the file, until `CloseReleasingLocks`, with the calling process as the owner
/// of its locks. `file` must be readable. Close it also after a refusal.
Entry EnterOpener(int file, unsigned int sharing);

/// The same for a file open for writing only, by an opener that denies everything.
bool EnterSoleWriter(int file);

}  // namespace platform

#endif
