#include "files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "interrupt.h"
#include "messages.h"

namespace {

constexpr char CHANGED[] = "changed while it was read";

FileStatus FileStatusOf(const struct stat& status) {
    constexpr __int64 NANOSECONDS_PER_SECOND = 1'000'000'000;
    return {static_cast<unsigned __int64>(status.st_size),
            status.st_mtim.tv_sec * NANOSECONDS_PER_SECOND + status.st_mtim.tv_nsec};
}

bool IsUnchanged(const struct stat& before, const struct stat& after) {
    const FileStatus first = FileStatusOf(before), last = FileStatusOf(after);
    return last.size == first.size && last.modified == first.modified && after.st_nlink > 0;
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
    const char* name = path.empty() ? "." : path.c_str() + start;
    return Descriptor(openat(parent, name, flags | O_NOFOLLOW | O_CLOEXEC));
}

bool ReadFileStatus(const Descriptor& root, const std::string& path, FileStatus& status) {
    const Descriptor file = OpenBelow(root, path, O_PATH);
    struct stat found;
    if (!file.IsOpen() || fstat(file.Number(), &found) != 0)
        return false;
    status = FileStatusOf(found);
    return true;
}

String ReadContents(const Descriptor& root, const std::string& path, Contents& contents) {
    const Descriptor file = OpenBelow(root, path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    struct stat before, after;
    if (!file.IsOpen() || fstat(file.Number(), &before) != 0)
        return ReasonOf(errno);
    if (!S_ISREG(before.st_mode))
        return CHANGED;

    contents.status = FileStatusOf(before);
    MD5 md5;
    char chunk[64 * 1024];
    unsigned __int64 size = 0;
    while (size <= contents.status.size) {
        StopIfInterrupted();
        const ssize_t got = read(file.Number(), chunk, sizeof chunk);
        if (got < 0)
            return ReasonOf(errno);
        if (got == 0)
            break;
        md5.update(chunk, static_cast<unsigned int>(got));
        size += static_cast<unsigned __int64>(got);
    }
    if (fstat(file.Number(), &after) != 0)
        return ReasonOf(errno);
    if (size != contents.status.size || !IsUnchanged(before, after))
        return CHANGED;
    md5.finalize();
    contents.digest = md5.hex_digest();
    return String();
}
