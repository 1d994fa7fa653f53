#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "commands.h"
#include "files.h"
#include "messages.h"
#include "store.h"
#include "storefile.h"

namespace {

/// Another name for a file, a link in a directory of its own: the compression's command line is
/// split at blanks, and takes a path that begins with a dash for an option.
class ScopedPlainName {
public:
    ScopedPlainName(const String& file, const char* ending)
        : m_Directory(MakeDirectory()), m_Link(m_Directory + "/file" + ending) {
        if (symlink(std::filesystem::absolute(file.c_str()).c_str(), m_Link.c_str()) != 0)
            throw std::runtime_error(Escaped(m_Link) + ": " + ReasonOf(errno));
    }
    ~ScopedPlainName() {
        unlink(m_Link.c_str());
        rmdir(m_Directory.c_str());
    }
    ScopedPlainName(const ScopedPlainName&) = delete;
    ScopedPlainName& operator=(const ScopedPlainName&) = delete;

    /// The name without the ending.
    String Path() const { return String(m_Directory + "/file"); }

private:
    static std::string MakeDirectory() {
        char directory[] = "/tmp/catalog.XXXXXX";
        if (mkdtemp(directory) == nullptr)
            throw std::runtime_error(std::string(directory) + ": " + ReasonOf(errno));
        return directory;
    }

    const std::string m_Directory, m_Link;
};

/// The compression doesn't tell that the program is missing.
void CheckGzip() {
    const char* const directories = std::getenv("PATH");
    std::istringstream list(directories != nullptr ? directories : "");
    for (std::string directory; std::getline(list, directory, ':');) {
        if (access((directory + "/gzip").c_str(), X_OK) == 0)
            return;
    }
    throw std::runtime_error("gzip: the program is not installed, or not in the PATH");
}

/// Keeps what the library reports of a failure beside its result away from the user, who reads
/// about it in this program's words.
class ScopedSilence {
public:
    ScopedSilence() : m_Before(dup(STDERR_FILENO)) {
        const Descriptor nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC));
        if (m_Before.IsOpen() && nowhere.IsOpen())
            dup2(nowhere.Number(), STDERR_FILENO);
    }
    ~ScopedSilence() {
        if (m_Before.IsOpen())
            dup2(m_Before.Number(), STDERR_FILENO);
    }
    ScopedSilence(const ScopedSilence&) = delete;
    ScopedSilence& operator=(const ScopedSilence&) = delete;

private:
    const Descriptor m_Before;
};

void RefuseToOverwrite(const String& path, const CommandLine& line) {
    if (!line.Has("force") && IsFileExisting(path.c_str(), nullptr))
        throw std::runtime_error(Escaped(path) + ": exists; --force overwrites it");
}

/// Throws the reason if a file can't be made in the place of `path`.
void CheckWritable(const String& path) {
    const std::string parent = std::filesystem::path(path.c_str()).parent_path().string();
    if (access(parent.empty() ? "." : parent.c_str(), W_OK | X_OK) != 0)
        throw std::runtime_error(Escaped(path) + ": " + ReasonOf(errno));
}

void CopyMode(const String& from, const String& to) {
    struct stat status;
    if (stat(from.c_str(), &status) == 0 && chmod(to.c_str(), status.st_mode & 07777) == 0)
        return;
    throw std::runtime_error(Escaped(to) + ": " + ReasonOf(errno));
}

void Rename(const String& from, const String& to) {
    if (std::rename(from.c_str(), to.c_str()) != 0)
        throw std::runtime_error(Escaped(to) + ": " + ReasonOf(errno));
}

unsigned __int64 SizeOf(const String& path) {
    struct _stat status;
    return IsFileExisting(path.c_str(), &status) ? static_cast<unsigned __int64>(status.st_size)
                                                 : 0;
}

void Report(const String& store, const String& archive) {
    const unsigned __int64 stored = SizeOf(store), compressed = SizeOf(archive);
    String ratio;
    ratio.Format("%.1f", 100.0 * static_cast<double>(compressed) / static_cast<double>(stored));
    PrintLine(Escaped(store) + ": " + CountOf(stored, "byte"));
    PrintLine(Escaped(archive) + ": " + CountOf(compressed, "byte") + ", " + ratio + " %");
}

/// Makes `destination` + ".gz".
bool Compress(const String& source, const String& destination) {
    const ScopedPlainName name(source, "");
    const ScopedSilence silence;
    return !String(ZIP(name.Path().c_str(), destination.c_str(), true)).empty();
}

/// Reads `source` + ".gz".
bool Decompress(const String& source, const String& destination) {
    const ScopedPlainName name(source + getZipfileExtension(), getZipfileExtension());
    const ScopedSilence silence;
    return UNZIP(name.Path().c_str(), destination.c_str(), true);
}

}  // namespace

/// The compression doesn't tell of a full disk, so what it has written is decompressed and read.
/// The old archive is replaced only then.
int Archive(const CommandLine& line) {
    const String& store = StoreOf(line);
    const String archive = line.words[0] + getZipfileExtension();
    CheckGzip();
    const Store checked(store);
    RefuseToOverwrite(archive, line);
    CheckWritable(archive);
    const ScopedTemporary copy(TemporaryPathFor(archive));
    const ScopedTemporary compressed(copy.Path() + getZipfileExtension());
    if (!Compress(store, copy.Path()) || !Decompress(copy.Path(), copy.Path()))
        throw std::runtime_error(Escaped(archive) + ": can't be compressed");
    const Store compared(copy.Path(), Store::TO_READ, archive);
    CopyMode(store, compressed.Path());
    Rename(compressed.Path(), archive);
    Report(store, archive);
    return STATUS_DONE;
}

/// The old store is replaced only when the whole archive has proved to be a store.
int Restore(const CommandLine& line) {
    const String& store = StoreOf(line);
    const String archive = line.words[0] + getZipfileExtension();
    CheckGzip();
    RefuseToOverwrite(store, line);
    if (access(archive.c_str(), R_OK) != 0)
        throw std::runtime_error(Escaped(archive) + ": " + ReasonOf(errno));
    const String target = TargetOf(store);
    CheckWritable(target);
    const ScopedTemporary temporary(TemporaryPathFor(target));
    if (!Decompress(line.words[0], temporary.Path()))
        throw std::runtime_error(Escaped(archive) + ": can't be decompressed");
    const Store checked(temporary.Path(), Store::TO_READ, archive);
    CopyMode(archive, temporary.Path());
    Rename(temporary.Path(), target);
    Report(store, archive);
    return STATUS_DONE;
}
