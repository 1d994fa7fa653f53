#include "files.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "interrupt.h"
#include "messages.h"

namespace {

constexpr char CHANGED[] = "changed while it was read";
constexpr std::size_t CHUNK_SIZE = 128 * 1024;

Kind KindOf(mode_t mode) {
    switch (mode & S_IFMT) {
        case S_IFDIR:
            return DIRECTORY_KIND;
        case S_IFLNK:
            return LINK_KIND;
        case S_IFIFO:
            return PIPE_KIND;
        case S_IFSOCK:
            return SOCKET_KIND;
        case S_IFCHR:
            return CHARACTER_DEVICE_KIND;
        case S_IFBLK:
            return BLOCK_DEVICE_KIND;
        default:
            return FILE_KIND;
    }
}

FileStatus StatusOf(const struct stat& found) {
    FileStatus status;
    status.kind = KindOf(found.st_mode);
    status.mode = static_cast<std::uint16_t>(found.st_mode & 07777);
    status.owner = found.st_uid;
    status.group = found.st_gid;
    if (status.kind == FILE_KIND)
        status.size = static_cast<unsigned __int64>(found.st_size);
    status.modified = found.st_mtim.tv_sec;
    status.nanoseconds = static_cast<std::uint32_t>(found.st_mtim.tv_nsec);
    if (status.kind == CHARACTER_DEVICE_KIND || status.kind == BLOCK_DEVICE_KIND)
        status.device = found.st_rdev;
    return status;
}

/// Opens one directory of the path after the other, which any system and any length of path allows.
Descriptor OpenStepwise(const Descriptor& root, const std::string& path, int flags) {
    Descriptor directory(-1);
    int parent = root.Number();
    std::size_t start = 0;
    for (std::size_t slash; (slash = path.find('/', start)) != path.npos; start = slash + 1) {
        directory = Descriptor(openat(parent, path.substr(start, slash - start).c_str(),
                                      O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!directory.IsOpen())
            return directory;
        parent = directory.Number();
    }
    return Descriptor(openat(parent, path.c_str() + start, flags));
}

/// Reads to the end of the file, or beyond `size` if there is more. Returns the number of bytes,
/// or -1.
__int64 HashAll(const Descriptor& file, unsigned __int64 size, Hasher& hasher) {
    static thread_local char chunk[CHUNK_SIZE];
    unsigned __int64 done = 0;
    while (done <= size) {
        StopIfInterrupted();
        const ssize_t got = read(file.Number(), chunk, sizeof chunk);
        if (got < 0)
            return -1;
        hasher.Update(chunk, static_cast<std::size_t>(got));
        done += static_cast<unsigned __int64>(got);
        // The status after reading tells whether there is more.
        if (got == 0 || (done == size && static_cast<std::size_t>(got) < sizeof chunk))
            break;
    }
    return static_cast<__int64>(done);
}

String TargetOf(const Descriptor& link, std::string& target) {
    char text[PATH_MAX];
    const ssize_t got = readlinkat(link.Number(), "", text, sizeof text);
    if (got < 0)
        return ReasonOf(errno);
    target.assign(text, static_cast<std::size_t>(got));
    return String();
}

}  // namespace

// Keeps `errno`, which tells the caller of a failed operation why it failed.
Descriptor::~Descriptor() {
    const int error = errno;
    if (IsOpen())
        close(m_Number);
    errno = error;
}

Descriptor OpenBelow(const Descriptor& root, const std::string& path, int flags) {
    flags |= O_NOFOLLOW | O_CLOEXEC;
    if (path.empty())
        return Descriptor(openat(root.Number(), ".", flags));
    open_how how = {};
    how.flags = static_cast<unsigned int>(flags);
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS;
    const auto opened = syscall(SYS_openat2, root.Number(), path.c_str(), &how, sizeof how);
    const bool isRefused = errno == ENOSYS || errno == EPERM || errno == ENAMETOOLONG;
    return opened < 0 && isRefused ? OpenStepwise(root, path, flags)
                                   : Descriptor(static_cast<int>(opened));
}

String ReadStatus(const Descriptor& root, Entry& entry) {
    struct stat found;
    const Descriptor file = OpenBelow(root, entry.path, O_PATH);
    if (!file.IsOpen() || fstat(file.Number(), &found) != 0)
        return ReasonOf(errno);
    entry.status = StatusOf(found);
    return entry.status.kind == LINK_KIND ? TargetOf(file, entry.target) : String();
}

String ReadContent(const Descriptor& root, bool withSha256, Entry& entry) {
    const Descriptor file = OpenBelow(root, entry.path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    struct stat before, after;
    if (!file.IsOpen() || fstat(file.Number(), &before) != 0)
        return ReasonOf(errno);
    if (!S_ISREG(before.st_mode))
        return CHANGED;

    entry.status = StatusOf(before);
    Hasher hasher(withSha256);
    const __int64 size = HashAll(file, entry.status.size, hasher);
    if (size < 0 || fstat(file.Number(), &after) != 0)
        return ReasonOf(errno);
    if (static_cast<unsigned __int64>(size) != entry.status.size ||
        !IsUnwritten(entry.status, StatusOf(after)) || after.st_nlink == 0)
        return CHANGED;
    entry.digests = hasher.Finish();
    return String();
}
