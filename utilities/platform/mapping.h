/// Files in memory.
///
/// A handle is a plain value; each is to be given back by the function of its kind. All operations
/// can be called from any thread.
#ifndef UTILITIES_PLATFORM_MAPPING_H
#define UTILITIES_PLATFORM_MAPPING_H

#include <cstdint>

namespace platform {

using FileHandle = void*;
using MappingHandle = void*;

/// No open file: null is one.
inline FileHandle InvalidHandleValue() { return reinterpret_cast<void*>(std::intptr_t{-1}); }

/// What a file is opened for.
inline constexpr std::uint32_t GENERIC_READ = 0x80000000;
inline constexpr std::uint32_t GENERIC_WRITE = 0x40000000;

/// What others may do meanwhile.
inline constexpr std::uint32_t FILE_SHARE_READ = 1;
inline constexpr std::uint32_t FILE_SHARE_WRITE = 2;

inline constexpr std::uint32_t CREATE_NEW = 1;     ///< Fails where there is a file.
inline constexpr std::uint32_t OPEN_EXISTING = 3;  ///< Fails where there is none.

inline constexpr std::uint32_t PAGE_READONLY = 2;
inline constexpr std::uint32_t PAGE_READWRITE = 4;

inline constexpr std::uint32_t FILE_MAP_WRITE = 2;
inline constexpr std::uint32_t FILE_MAP_READ = 4;
inline constexpr std::uint32_t FILE_MAP_ALL_ACCESS = 0xF001F;

/// Opens a file, no directory. `InvalidHandleValue()` on failure, with the reason in
/// `GetLastError`; also where an opener before, in whatever process, and this one don't let each
/// other do what they want. One that only writes is refused by others and refuses nobody.
FileHandle CreateFileA(const char* path, std::uint32_t access, std::uint32_t share,
                       std::uint32_t disposition);

/// The system's number of the reason why the calling thread's last `CreateFileA` failed.
std::uint32_t GetLastError();

/// The low 32 bits of the file's size.
std::uint32_t GetFileSize(FileHandle file);

/// A mapping of the file's first `size` bytes. A writable one extends the file to them, on the disk
/// as well, so that none of them can find it full later. Null on failure, with the file as it was:
/// a size of 0, a size above the file's for reading, and a file that isn't open for reading, and
/// for writing too where that is asked for.
MappingHandle CreateFileMappingA(FileHandle file, std::uint32_t protection, std::uint32_t size);

/// The address of the whole mapping, or null.
void* MapViewOfFile(MappingHandle mapping, std::uint32_t access);

/// `size` is the mapping's.
void UnmapViewOfFile(void* view, std::uint32_t size);
void CloseMapping(MappingHandle mapping);
void CloseFile(FileHandle file);

}  // namespace platform

#endif
