/// Files in memory.
///
/// A handle is a plain value; each is given back by the function of its kind. All operations can be
/// called from any thread.
#ifndef UTILITIES_PLATFORM_MAPPING_H
#define UTILITIES_PLATFORM_MAPPING_H

#include <cstdint>

namespace platform {

using FileHandle = void*;
using MappingHandle = void*;

/// Stands for "no open file". Null doesn't: it is the handle of a file.
inline FileHandle InvalidHandleValue() { return reinterpret_cast<void*>(std::intptr_t{-1}); }

/// The access that an opener asks for.
inline constexpr std::uint32_t GENERIC_READ = 0x80000000;
inline constexpr std::uint32_t GENERIC_WRITE = 0x40000000;

/// What others may do until the file is closed.
inline constexpr std::uint32_t FILE_SHARE_READ = 1;
inline constexpr std::uint32_t FILE_SHARE_WRITE = 2;

inline constexpr std::uint32_t CREATE_NEW = 1;     ///< Fails if the file exists.
inline constexpr std::uint32_t OPEN_EXISTING = 3;  ///< Fails if it doesn't.

inline constexpr std::uint32_t PAGE_READONLY = 2;
inline constexpr std::uint32_t PAGE_READWRITE = 4;

inline constexpr std::uint32_t FILE_MAP_WRITE = 2;
inline constexpr std::uint32_t FILE_MAP_READ = 4;
inline constexpr std::uint32_t FILE_MAP_ALL_ACCESS = 0xF001F;

/// Opens a file. Returns `InvalidHandleValue()` on failure, with the reason in `GetLastError`: the
/// file is missing, exists, is a directory or may not be opened, or (EACCES) this opener conflicts
/// with an earlier one in any process, as in `_sopen`. An opener that asks for writing only can't
/// be seen by later ones, so it denies nothing to them.
FileHandle CreateFileA(const char* path, std::uint32_t access, std::uint32_t share,
                       std::uint32_t disposition);

/// The system's number of the reason why the calling thread's last `CreateFileA` failed.
std::uint32_t GetLastError();

/// The low 32 bits of the file's size in bytes; 0 on failure.
std::uint32_t GetFileSize(FileHandle file);

/// Makes a mapping of the file's first `size` bytes. A writable mapping extends a shorter file by
/// zeros, and allocates them on the disk, so that no write to the memory can find the disk full.
/// Returns null, with nothing changed, for a size of 0, for a size above the file's in a read-only
/// mapping, for a file that is not open for reading (and for writing, if that is asked for), and
/// where space or memory is missing. A failed allocation cuts nothing off that others have added;
/// some file systems keep for it the space that they found.
MappingHandle CreateFileMappingA(FileHandle file, std::uint32_t protection, std::uint32_t size);

/// The address of the whole mapping. Null on failure, if `access` and the mapping's protection
/// don't match, and for a null mapping.
void* MapViewOfFile(MappingHandle mapping, std::uint32_t access);

/// `size` must be the mapping's.
void UnmapViewOfFile(void* view, std::uint32_t size);
void CloseMapping(MappingHandle mapping);

/// Closes the file; views of it stay. Its denial ends, as with `_close`.
void CloseFile(FileHandle file);

}  // namespace platform

#endif
