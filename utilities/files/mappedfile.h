/// A file in memory for the life of an object.
#ifndef UTILITIES_FILES_MAPPEDFILE_H
#define UTILITIES_FILES_MAPPEDFILE_H

#include <cstdint>

#include "utilities/frame/export.h"

/// Maps one whole file: what is written to the memory is written to the file, at a time of the
/// system's choice.
///
/// Several threads may use one object's address. Memory behind the end of a file that somebody
/// shortened meanwhile must not be touched: the system ends the process.
///
/// A copy shares the address with its source, and an assignment doesn't give back what its target
/// had: only one of such objects may be destroyed, and the others' addresses are void then.
class UTILITIES_EXPORT MappedFile {
public:
    /// Maps the file at `path`, up to its 4 GiB, from which on sizes count anew. With bit 1 of
    /// `mode` for reading and writing: a file that doesn't exist is made, and one of fewer than
    /// `minSize` bytes grows to these, zeroed. With no bit for reading: the file must exist and
    /// have `minSize` bytes, and meanwhile openers that use this library can't write to it. With
    /// bit 0 alone for writing only, which this system doesn't map; the file is made all the same.
    ///
    /// A file that can't be opened or made is told on the `cout` stream with the system's number
    /// for the reason. Whatever fails shows in a null `getAddr`, with nothing left open; a file
    /// that was made stays. An empty file can't be mapped.
    MappedFile(const char* path, int mode, std::uint32_t minSize);
    MappedFile(const MappedFile& other);
    MappedFile& operator=(const MappedFile& other);
    virtual ~MappedFile();

    /// Null where there is nothing mapped.
    void* getAddr();

private:
    UTILITIES_LOCAL void map(const char* path, int mode, std::uint32_t minSize);
    UTILITIES_LOCAL void closeHandles();

    void* m_MappingHandle;
    void* m_FileHandle;
    void* m_Addr;
    std::uint32_t m_Size;
};

#endif
