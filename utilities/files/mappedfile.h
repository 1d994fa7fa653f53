/// A file in memory for the life of an object.
#ifndef UTILITIES_FILES_MAPPEDFILE_H
#define UTILITIES_FILES_MAPPEDFILE_H

#include <cstdint>
#include <type_traits>

#include "utilities/frame/export.h"

/// Maps one whole file. What is written to the memory is written to the file, at a time of the
/// system's choice; other openers and mappings of the file see it at once.
///
/// If somebody shortens the file, the memory beyond its new end must not be touched: the system
/// ends the process (SIGBUS).
///
/// Several threads may use one object's address; a forked child has the same memory, and its copy
/// of the object ends nothing for the parent. Share modes as in `BinaryFile` hold between both
/// classes.
///
/// A copy shares the address with its source, and an assignment doesn't release what its target
/// had. Only one of such objects may be destroyed, after which the addresses of the others are
/// void.
class UTILITIES_EXPORT MappedFile {
public:
    /// Maps the file at `path`. `mode` is 0 or a combination of these bits, others are ignored:
    ///
    /// - 0: for reading. The file must exist and have `minSize` bytes. As long as the object lives,
    ///   openers that use this library can't write to the file.
    /// - 2 (or 3): for reading and writing. A missing file is created (mode 0666, less the umask);
    ///   a file of fewer than `minSize` bytes grows to them, by zeros that have their space on the
    ///   disk. A growth that fails never shortens what others have added meanwhile.
    /// - 1: for writing only, which this system can't map. A missing file is created all the same.
    ///
    /// Sizes have 32 bits: of a file of 4 GiB or more only the rest of its size by 4 GiB is mapped.
    ///
    /// After a failure `getAddr` is null and nothing is open; a file that was created stays. An
    /// empty file can't be mapped. If the file can't be opened or created, a line on `std::cout`
    /// says so, with the system's number for the last attempt's reason.
    ///
    /// `errno` then holds the reason: the system's, for which an existing file could not be opened,
    /// a missing one created, or the memory had; EACCES also if share modes conflict and for a file
    /// that mode 1 has opened; EINVAL for an empty file and, in mode 0, one of fewer than `minSize`
    /// bytes; EAGAIN if another one had the file's end locked for 10 seconds.
    MappedFile(const char* path, int mode, std::uint32_t minSize);

    /// The same for a wider type of `minSize`. A value that doesn't fit into 32 bits is not cut: it
    /// fails like an empty path (ENOENT).
    template <typename Size, typename = std::enable_if_t<std::is_integral_v<Size> &&
                                                         (sizeof(Size) > sizeof(std::uint32_t))>>
    MappedFile(const char* path, int mode, Size minSize)
        : MappedFile(Fits(minSize) ? path : "", Fits(minSize) ? mode : 0,
                     static_cast<std::uint32_t>(minSize)) {}

    MappedFile(const MappedFile& other);
    MappedFile& operator=(const MappedFile& other);
    virtual ~MappedFile();

    /// The start of the memory, null if nothing is mapped; the constructor has left the reason.
    void* getAddr();

private:
    template <typename Size>
    static constexpr bool Fits(Size size) {
        return static_cast<Size>(static_cast<std::uint32_t>(size)) == size;
    }

    UTILITIES_LOCAL void map(const char* path, int mode, std::uint32_t minSize);
    UTILITIES_LOCAL void closeHandles();

    void* m_MappingHandle;
    void* m_FileHandle;
    void* m_Addr;
    std::uint32_t m_Size;
};

#endif
