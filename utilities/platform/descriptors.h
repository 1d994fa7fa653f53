/// Open files that several openers share, in one process or in many.
///
/// Files are plain descriptors, closed on exec. A read or a write names its place: so one call does
/// it, and nobody else's use of the descriptor can come in between. No operation ends early or
/// fails because a signal was handled. All can be called from any thread; on what is no open
/// descriptor they fail at once.
#ifndef UTILITIES_PLATFORM_DESCRIPTORS_H
#define UTILITIES_PLATFORM_DESCRIPTORS_H

#include <cstdint>

namespace platform {

/// The flags of an open. All files are read and written as they are.
inline constexpr int _O_RDONLY = 0;
inline constexpr int _O_RDWR = 2;
inline constexpr int _O_APPEND = 8;     ///< All writes go to the end.
inline constexpr int _O_CREAT = 0x100;  ///< Made where it is missing.
inline constexpr int _O_TRUNC = 0x200;  ///< Emptied, once it is known that it may be opened,
                                        ///< for which it must be writable.
inline constexpr int _O_BINARY = 0x8000;

/// What an opener lets others do meanwhile.
inline constexpr int _SH_DENYRW = 0x10;
inline constexpr int _SH_DENYWR = 0x20;
inline constexpr int _SH_DENYRD = 0x30;
inline constexpr int _SH_DENYNO = 0x40;

/// The rights of a file that is made, for its owner.
inline constexpr int _S_IREAD = 0x100;
inline constexpr int _S_IWRITE = 0x80;

/// Opens a file. -1 on failure: it is missing or may not be opened, is a directory, or this opener
/// and one before it don't go together, as one of them does what the other denies. Openers know of
/// each other, in whatever process, where both come through here; a file system that has no locks
/// denies nothing. A refused open changes nothing, and the denial ends with the descriptor and all
/// its copies, at the latest with the process.
int _sopen(const char* path, int flags, int share, int permission);

/// The same, denying nothing.
int _open(const char* path, int flags, int permission);

/// 0, or -1 for what is not open.
int _close(int file);

/// The file's size, or -1.
std::int64_t GetLength(int file);

/// Reads up to `size` bytes, which must be below 2 GiB, as for a write, from `offset` on.
/// Gives their number, which is less only where the file ends there, or -1.
int ReadAt(int file, void* buffer, unsigned int size, std::int64_t offset);

/// The place of a write that goes to the end of a file opened with `_O_APPEND`.
inline constexpr std::int64_t AT_END = -1;

/// Writes `size` bytes from `offset` on. Gives `size`, or -1: then an append has left nothing
/// behind, unless another one follows it already; any other place may have changed in part.
int WriteAt(int file, const void* buffer, unsigned int size, std::int64_t offset);

/// The modes of `_locking`.
inline constexpr int _LK_UNLCK = 0;
inline constexpr int _LK_LOCK = 1;

/// Locks `size` bytes from `offset` on, for this opener alone, or gives them up. They need not
/// exist, and a lock of no bytes is always had. Waits up to 10 seconds for those of others. 0, or
/// -1: the time is up, or the file isn't open for writing. A lock ends with the descriptor, as a
/// denial. Nobody's reads and writes are held up by it: all have to ask.
int _locking(int file, int mode, unsigned int size, std::int64_t offset);

}  // namespace platform

#endif
