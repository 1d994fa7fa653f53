/// Locked byte ranges of open files, and which bytes mean what.
///
/// The locks belong to the open file, not to the process (F_OFD_SETLK), so they hold between two
/// openers of one process as well. They are advisory: they bind those who ask. The bytes need not
/// exist; all but the first line of this table lie beyond any content, where locks name what is not
/// a part of the file:
///
///     0 and up                  header and records; whoever holds the range may change it
///     PLACES and up             PLACES + n: the place in the queue for the range that begins at n
///     LOCK_BYTES + 0 to 3       the share modes, see sharing.cpp
///     LOCK_BYTES + 4            the file's end; whoever holds it may move the end
///     LOCK_BYTES + 5            the place in the queue for the end
///     LOCK_BYTES + 6            the place in the queue for ranges that begin at PLACES or above
#ifndef UTILITIES_PLATFORM_LINUX_FILES_RANGELOCK_H
#define UTILITIES_PLATFORM_LINUX_FILES_RANGELOCK_H

#include <cstdint>

namespace platform {

struct ByteRange {
    std::int64_t start;
    std::int64_t size;  ///< 0: without end.
};

/// Half of what an offset can be; no file is that long.
inline constexpr std::int64_t PLACES = std::int64_t{1} << 62;

inline constexpr std::int64_t LOCK_BYTES = 0x7fffffffffff0000;
inline constexpr ByteRange END_OF_FILE = {LOCK_BYTES + 4, 1};
inline constexpr std::int64_t PLACE_FOR_END = LOCK_BYTES + 5;
inline constexpr std::int64_t PLACE_FOR_FAR_RANGES = LOCK_BYTES + 6;

inline constexpr ByteRange EVERYTHING = {0, 0};

/// Locks the range without waiting (F_RDLCK shared, F_WRLCK exclusive) or gives it up (F_UNLCK).
/// False with `errno` set; `IsHeldElsewhere` tells then whether another opener has it.
bool SetLock(int file, short type, const ByteRange& range);

/// Whether the `errno` of a lock that failed means that another opener has it.
bool IsHeldElsewhere(int error);

/// Whether another opener has locked any byte of the range, in either way.
bool IsLockedElsewhere(int file, const ByteRange& range);

}  // namespace platform

#endif
