/// Open files that several openers share, in one process or in many.
///
/// A file is a plain descriptor, above the three standard ones, closed on exec. Reads and writes
/// name their offset, so nobody else's use of the descriptor can come between finding the place and
/// using it. No operation ends early or fails because a signal was handled. All can be called from
/// any thread. On anything that is not an open descriptor they fail at once. Unless said otherwise,
/// a failure leaves the system's reason in `errno`.
#ifndef UTILITIES_PLATFORM_DESCRIPTORS_H
#define UTILITIES_PLATFORM_DESCRIPTORS_H

#include <cstdint>

namespace platform {

/// The flags of an open. There is no text mode: bytes are read and written as they are.
inline constexpr int _O_RDONLY = 0;
inline constexpr int _O_RDWR = 2;
inline constexpr int _O_APPEND = 8;     ///< All writes go to the end.
inline constexpr int _O_CREAT = 0x100;  ///< Creates the file where it is missing.
inline constexpr int _O_TRUNC = 0x200;  ///< Empties the file after the open has been granted; needs
                                        ///< a file that may be written.
inline constexpr int _O_BINARY = 0x8000;

/// What an opener denies to others until it closes the file.
inline constexpr int _SH_DENYRW = 0x10;
inline constexpr int _SH_DENYWR = 0x20;
inline constexpr int _SH_DENYRD = 0x30;
inline constexpr int _SH_DENYNO = 0x40;

/// The permissions of a file that is created, for its owner, less the process's mask.
inline constexpr int _S_IREAD = 0x100;
inline constexpr int _S_IWRITE = 0x80;

/// Opens a file and returns its descriptor. -1 on failure: the file is missing or may not be
/// opened, is a directory, or (EACCES) this opener and one before it conflict, because one of them
/// does what the other denies. A refused open changes nothing.
///
/// Openers know of each other, in whatever process, if both come through here. A denial ends when
/// the process that opened the file closes it, or ends; in a forked child that goes on it holds
/// only until then. A file system without locks denies nothing. If another program has locked the
/// whole file by `flock`, the open takes a second longer.
int _sopen(const char* path, int flags, int share, int permission);

/// The same, denying nothing.
int _open(const char* path, int flags, int permission);

/// Gives up all locks and closes the file. Returns 0, or -1 if the file is not open, and if the
/// system reports that it could not store an earlier write: then the file is still open and locked.
/// In a process that inherited the file by a fork it closes only the copy: the parent's locks stay.
int _close(int file);

/// The same, and closes the file whatever the system reports. No effect on anything that is not
/// open.
void CloseUnchecked(int file);

/// The file's size in bytes, or -1.
std::int64_t GetLength(int file);

/// Reads up to `size` bytes from `offset` on; sizes of 2 GiB and more fail, as with the writes.
/// Returns the number of bytes read, which is less only where the file ends there, or -1.
///
/// An opener that keeps out all writers may be served from what was read before: changes to the
/// file that didn't come through this opener show late, those by programs that know of no share
/// modes.
int ReadAt(int file, void* buffer, unsigned int size, std::int64_t offset);

/// Writes `size` bytes from `offset` on. Returns `size`, or -1: then any part of the bytes may have
/// been written.
int WriteAt(int file, const void* buffer, unsigned int size, std::int64_t offset);

/// The offset of an append to a file that was opened with `_O_APPEND`.
inline constexpr std::int64_t AT_END = -1;

/// The same for bytes that make the file longer. After a failure the file has its former length. If
/// others may write to it as well, hold its end meanwhile (`ScopedFileEnd`).
int AppendAt(int file, const void* buffer, unsigned int size, std::int64_t offset);

}  // namespace platform

#endif
