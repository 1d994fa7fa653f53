#include "utilities/files/mappedfile.h"

#include <algorithm>
#include <iostream>
#include <string>

#include "utilities/frame/errno_internal.h"
#include "utilities/platform/mapping.h"

namespace {

/// What one mode asks of the file and of its mapping.
struct Access {
    std::uint32_t file;
    std::uint32_t share;
    std::uint32_t protection;
    std::uint32_t view;
};

// By the two low bits of the mode.
constexpr Access ACCESSES[] = {
    {platform::GENERIC_READ, platform::FILE_SHARE_READ, platform::PAGE_READONLY,
     platform::FILE_MAP_READ},
    {platform::GENERIC_WRITE, platform::FILE_SHARE_WRITE, platform::PAGE_READWRITE,
     platform::FILE_MAP_WRITE},
    {platform::GENERIC_READ | platform::GENERIC_WRITE,
     platform::FILE_SHARE_READ | platform::FILE_SHARE_WRITE, platform::PAGE_READWRITE,
     platform::FILE_MAP_ALL_ACCESS},
};

const Access& AccessOf(int mode) { return ACCESSES[std::min(mode & 3, 2)]; }

platform::FileHandle Open(const char* path, const Access& access) {
    using namespace platform;
    FileHandle file = CreateFileA(path, access.file, access.share, OPEN_EXISTING);
    if (file != InvalidHandleValue() || (access.file & GENERIC_WRITE) == 0)
        return file;
    const int reason = errno;
    file = CreateFileA(path, access.file, access.share, CREATE_NEW);
    if (file == InvalidHandleValue() && errno == EEXIST)
        errno = reason;
    return file;
}

/// Written as one text, so that no number base or width that is set in the stream changes it. The
/// stream fails for good if it is given a null text.
void ReportOpenFailure(const char* path) {
    const ScopedErrno untilWritten;
    const std::string text = "error: " + std::to_string(platform::GetLastError()) +
                             " while open file: " + (path != nullptr ? path : "(null)");
    std::cout.write(text.data(), static_cast<std::streamsize>(text.size())) << std::endl;
}

}  // namespace

MappedFile::MappedFile(const char* path, int mode, std::uint32_t minSize)
    : m_MappingHandle(nullptr),
      m_FileHandle(platform::InvalidHandleValue()),
      m_Addr(nullptr),
      m_Size(0) {
    map(path, mode, minSize);
}

MappedFile::MappedFile(const MappedFile&) = default;
MappedFile& MappedFile::operator=(const MappedFile&) = default;

void MappedFile::map(const char* path, int mode, std::uint32_t minSize) {
    const Access& access = AccessOf(mode);
    m_FileHandle = Open(path, access);
    if (m_FileHandle == platform::InvalidHandleValue()) {
        ReportOpenFailure(path);
        return;
    }
    m_Size = std::max(platform::GetFileSize(m_FileHandle), minSize);
    m_MappingHandle = platform::CreateFileMappingA(m_FileHandle, access.protection, m_Size);
    m_Addr = platform::MapViewOfFile(m_MappingHandle, access.view);
    if (m_Addr == nullptr)
        closeHandles();
}

void MappedFile::closeHandles() {
    if (m_MappingHandle != nullptr && m_MappingHandle != platform::InvalidHandleValue())
        platform::CloseMapping(m_MappingHandle);
    m_MappingHandle = platform::InvalidHandleValue();
    if (m_FileHandle != platform::InvalidHandleValue())
        platform::CloseFile(m_FileHandle);
    m_FileHandle = platform::InvalidHandleValue();
}

MappedFile::~MappedFile() {
    if (m_Addr != nullptr)
        platform::UnmapViewOfFile(m_Addr, m_Size);
    m_Size = 0;
    m_Addr = nullptr;
    closeHandles();
}

void* MappedFile::getAddr() { return m_Addr; }
