#include "utilities/platform/mapping.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>

#include "utilities/frame/errno_internal.h"
#include "utilities/platform/descriptors.h"
#include "utilities/platform/filelocks.h"
#include "utilities/platform/linux/files/appending.h"
#include "utilities/platform/linux/files/opening.h"
#include "utilities/platform/linux/files/ownership.h"
#include "utilities/platform/linux/files/sharing.h"
#include "utilities/platform/linux/sync/retry.h"
#include "utilities/platform/stopdeferral.h"

namespace platform {

namespace {

struct Mapping {
    int file;
    std::uint32_t size;
    bool isWritable;
};

thread_local std::uint32_t lastError = 0;

int DescriptorOf(FileHandle file) {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(file));
}

int SystemFlags(std::uint32_t access, std::uint32_t disposition) {
    const int create = disposition == CREATE_NEW ? O_CREAT | O_EXCL : 0;
    if ((access & GENERIC_WRITE) == 0)
        return O_RDONLY | create;
    return ((access & GENERIC_READ) != 0 ? O_RDWR : O_WRONLY) | create;
}

unsigned int SharingOf(std::uint32_t access, std::uint32_t share) {
    return ((access & GENERIC_READ) != 0 ? SHARING_READS : 0u) |
           ((access & GENERIC_WRITE) != 0 ? SHARING_WRITES : 0u) |
           ((share & FILE_SHARE_READ) == 0 ? SHARING_DENIES_READS : 0u) |
           ((share & FILE_SHARE_WRITE) == 0 ? SHARING_DENIES_WRITES : 0u);
}

off_t LengthOf(int file) {
    struct stat status;
    return fstat(file, &status) == 0 ? status.st_size : -1;
}

bool Allocate(int file, int mode, off_t from, off_t size) {
    return Uninterrupted([&] { return fallocate(file, mode, from, size - from); }) == 0;
}

/// For file systems that can't allocate. Writes zeros, and takes them back where they don't fit.
bool ExtendByWriting(int file, off_t size) {
    constexpr char ZEROS[0x4000] = {};
    const off_t from = GetLength(file);
    for (off_t end = from; end < size;) {
        const auto part = std::min<off_t>(size - end, sizeof ZEROS);
        if (AppendAt(file, ZEROS, static_cast<unsigned int>(part), end) < 0) {
            TakeBack(file, from, end);
            return false;
        }
        end += part;
    }
    return true;
}

/// Extends the file to `size`, on the disk as well. The space comes first and doesn't change the
/// length, so there is nothing to take back where it is missing; the second allocation only moves
/// the end, and never back over what others have added meanwhile.
bool Extend(int file, off_t size) {
    const ScopedFileEnd end(file, true);
    const off_t length = LengthOf(file);
    if (!end.MayMove() || length < 0 || length >= size)
        return end.MayMove() && length >= size;
    if (Allocate(file, FALLOC_FL_KEEP_SIZE, length, size))
        return Allocate(file, 0, length, size);
    return errno == EOPNOTSUPP && ExtendByWriting(file, size);
}

bool IsOpenFor(int file, bool writing) {
    const int flags = fcntl(file, F_GETFL);
    if (flags < 0)
        return false;
    const int mode = flags & O_ACCMODE;
    return mode == O_RDWR || (mode == O_RDONLY && !writing) || FailWith(EACCES);
}

/// Whether the file has `size` bytes, after it was extended if it may be.
bool HasSize(int file, std::uint32_t size, bool mayGrow) {
    const off_t length = LengthOf(file);
    if (length < 0 || length >= size)
        return length >= 0;
    return mayGrow ? Extend(file, size) : FailWith(EINVAL);
}

}  // namespace

FileHandle CreateFileA(const char* path, std::uint32_t access, std::uint32_t share,
                       std::uint32_t disposition) {
    const StopDeferral untilEntered;
    const int file = OpenNoDirectory(path, SystemFlags(access, disposition), 0666);
    if (file >= 0 && EnterOpener(file, SharingOf(access, share)) != Entry::REFUSED)
        return reinterpret_cast<FileHandle>(std::intptr_t{file});
    lastError = static_cast<std::uint32_t>(errno);
    if (file >= 0)
        CloseReleasingLocks(file);
    return InvalidHandleValue();
}

std::uint32_t GetLastError() { return lastError; }

std::uint32_t GetFileSize(FileHandle file) {
    return static_cast<std::uint32_t>(std::max<off_t>(LengthOf(DescriptorOf(file)), 0));
}

MappingHandle CreateFileMappingA(FileHandle file, std::uint32_t protection, std::uint32_t size) {
    const int descriptor = DescriptorOf(file);
    const bool isWritable = protection == PAGE_READWRITE;
    if (size == 0)
        errno = EINVAL;
    if (size == 0 || !IsOpenFor(descriptor, isWritable))
        return nullptr;
    std::unique_ptr<Mapping> mapping(new (std::nothrow) Mapping{descriptor, size, isWritable});
    if (mapping == nullptr)
        errno = ENOMEM;
    else if (!HasSize(descriptor, size, isWritable))
        return nullptr;
    return mapping.release();
}

void* MapViewOfFile(MappingHandle handle, std::uint32_t access) {
    const auto* const mapping = static_cast<Mapping*>(handle);
    if (mapping == nullptr || (access == FILE_MAP_READ) == mapping->isWritable)
        return nullptr;
    const int protection = PROT_READ | (mapping->isWritable ? PROT_WRITE : 0);
    void* const view = mmap(nullptr, mapping->size, protection, MAP_SHARED, mapping->file, 0);
    return view != MAP_FAILED ? view : nullptr;
}

void UnmapViewOfFile(void* view, std::uint32_t size) { munmap(view, size); }

void CloseMapping(MappingHandle mapping) { delete static_cast<Mapping*>(mapping); }

void CloseFile(FileHandle file) { CloseReleasingLocks(DescriptorOf(file)); }

}  // namespace platform
