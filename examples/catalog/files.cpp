#include "files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "interrupt.h"
#include "messages.h"

namespace {

constexpr char CHANGED[] = "changed while it was read";

bool IsUnchanged(const struct stat& before, const struct stat& after) {
    return after.st_size == before.st_size && after.st_mtim.tv_sec == before.st_mtim.tv_sec &&
           after.st_mtim.tv_nsec == before.st_mtim.tv_nsec && after.st_nlink > 0;
}

}  // namespace

// What made the caller give up is still to be read from `errno`.
Descriptor::~Descriptor() {
    const int error = errno;
    if (IsOpen())
        close(number);
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

String ReadContents(const Descriptor& root, const std::string& path, Contents& contents) {
    const Descriptor file = OpenBelow(root, path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    struct stat before, after;
    if (!file.IsOpen() || fstat(file.Number(), &before) != 0)
        return ReasonOf(errno);
    if (!S_ISREG(before.st_mode))
        return CHANGED;

    const auto size = static_cast<unsigned __int64>(before.st_size);
    MD5 md5;
    char chunk[64 * 1024];
    contents.size = 0;
    while (contents.size <= size) {
        StopIfInterrupted();
        const ssize_t got = read(file.Number(), chunk, sizeof chunk);
        if (got < 0)
            return ReasonOf(errno);
        if (got == 0)
            break;
        md5.update(chunk, static_cast<unsigned int>(got));
        contents.size += static_cast<unsigned __int64>(got);
    }
    if (fstat(file.Number(), &after) != 0)
        return ReasonOf(errno);
    if (contents.size != size || !IsUnchanged(before, after))
        return CHANGED;
    md5.finalize();
    contents.digest = md5.hex_digest();
    return String();
}
