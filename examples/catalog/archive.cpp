#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <stdexcept>

#include "commands.h"
#include "directory.h"
#include "messages.h"
#include "store.h"
#include "storefile.h"

namespace {

/// The compression's command line is split at blanks, and a path that begins with a dash would be
/// an option.
String ForCommandLine(const String& path) {
    if (path.find_first_of(" \t") != path.npos)
        throw UsageError(Escaped(path) + ": a path with blanks can't be compressed");
    return path.compare(0, 1, "-") == 0 ? String("./" + path) : path;
}

void RefuseToOverwrite(const String& path, const CommandLine& line) {
    if (!line.Has("force") && IsFileExisting(path.c_str(), nullptr))
        throw std::runtime_error(Escaped(path) + ": exists; --force overwrites it");
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

}  // namespace

int Archive(const CommandLine& line) {
    const String store = ForCommandLine(StoreOf(line));
    const String destination = ForCommandLine(line.words[0]);
    const String archive = destination + getZipfileExtension();
    Store checked(store, Store::TO_READ);
    RefuseToOverwrite(archive, line);
    if (String(ZIP(store.c_str(), destination.c_str(), true)).empty() || SizeOf(archive) == 0)
        throw std::runtime_error(Escaped(archive) + ": can't be compressed");
    Report(store, archive);
    return STATUS_DONE;
}

/// The old store is replaced only when the whole archive has proved to be a store.
int Restore(const CommandLine& line) {
    const String store = ForCommandLine(StoreOf(line));
    const String source = ForCommandLine(line.words[0]);
    const String archive = source + getZipfileExtension();
    RefuseToOverwrite(store, line);
    if (!IsFileExisting(archive.c_str(), nullptr))
        throw std::runtime_error(Escaped(archive) + ": " + ReasonOf(ENOENT));
    const String temporary = TemporaryPathFor(store);
    try {
        if (!UNZIP(source.c_str(), temporary.c_str(), true))
            throw std::runtime_error(Escaped(archive) + ": can't be decompressed");
        Store checked(temporary, Store::TO_READ);
    } catch (...) {
        AssureFileRemoved(temporary.c_str(), nullptr);
        throw;
    }
    if (std::rename(temporary.c_str(), store.c_str()) != 0)
        throw std::runtime_error(Escaped(store) + ": " + ReasonOf(errno));
    Report(store, archive);
    return STATUS_DONE;
}
