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

/// The compression's command line is split at blanks, and a path that begins with a dash would be
/// an option.
String ForCommandLine(const String& path) {
    if (path.find_first_of(" \t\n") != path.npos)
        throw UsageError(Escaped(path) + ": a path with blanks can't be compressed");
    return path.compare(0, 1, "-") == 0 ? String("./" + path) : path;
}

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

bool Compress(const String& source, const String& destination) {
    const ScopedSilence silence;
    return !String(ZIP(source.c_str(), destination.c_str(), true)).empty();
}

bool Decompress(const String& source, const String& destination) {
    const ScopedSilence silence;
    return UNZIP(source.c_str(), destination.c_str(), true);
}

}  // namespace

/// The compression doesn't tell of a full disk, so what it has written is decompressed and read.
/// The old archive is replaced only then.
int Archive(const CommandLine& line) {
    const String store = ForCommandLine(StoreOf(line));
    const String archive = ForCommandLine(line.words[0]) + getZipfileExtension();
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
    const String store = ForCommandLine(StoreOf(line));
    const String source = ForCommandLine(line.words[0]);
    const String archive = source + getZipfileExtension();
    CheckGzip();
    RefuseToOverwrite(store, line);
    if (access(archive.c_str(), R_OK) != 0)
        throw std::runtime_error(Escaped(archive) + ": " + ReasonOf(errno));
    CheckWritable(store);
    const ScopedTemporary temporary(TemporaryPathFor(store));
    if (!Decompress(source, temporary.Path()))
        throw std::runtime_error(Escaped(archive) + ": can't be decompressed");
    const Store checked(temporary.Path(), Store::TO_READ, archive);
    CopyMode(archive, temporary.Path());
    Rename(temporary.Path(), store);
    Report(store, archive);
    return STATUS_DONE;
}
