#include "store.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "messages.h"
#include "record.h"

namespace {

bool IsMissing(const String& path) {
    struct stat status;
    return stat(path.c_str(), &status) != 0 && errno == ENOENT;
}

/// The rights that the system gives a new file.
mode_t NewFilesMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

void Check(int result) {
    if (result != 0)
        throw StoreError(ReasonOf(errno));
}

}  // namespace

template <class Action>
void Store::RunNamed(Action action) {
    try {
        action();
    } catch (const StoreError& error) {
        throw std::runtime_error(Escaped(m_Name) + ": " + error.what());
    }
}

Store::Store(const String& path, Access access, const String& shownName)
    : m_Path(TargetOf(path)), m_Name(shownName.empty() ? path : shownName) {
    RunNamed([&] {
        if (access == TO_READ || !IsMissing(m_Path))
            Read();
    });
}

void Store::Read() {
    const StoreContent read = ReadStoreFile(m_Path);
    m_Content.clear();
    if (!ReadFlat(read.stream, m_Content) || CountEntries(m_Content) != read.entries)
        throw StoreError("the entries are damaged");
    m_Header = read.header;
}

void Store::WriteTo(const String& temporary) {
    m_Header = WriteStoreFile(temporary, Flattened(m_Content), CountEntries(m_Content));
}

// False if another process was faster.
bool Store::Create() {
    const ScopedTemporary temporary(TemporaryPathFor(m_Path));
    WriteTo(temporary.Path());
    Check(chmod(temporary.Path().c_str(), NewFilesMode()));
    if (link(temporary.Path().c_str(), m_Path.c_str()) == 0)
        return true;
    if (errno != EEXIST)
        throw StoreError(ReasonOf(errno));
    return false;
}

// Only the superuser can give the new file the old one's owner, if that is another one.
void Store::Replace() {
    struct stat old;
    Check(stat(m_Path.c_str(), &old));
    const ScopedTemporary temporary(TemporaryPathFor(m_Path));
    const char* const path = temporary.Path().c_str();
    WriteTo(temporary.Path());
    [[maybe_unused]] const int owned = chown(path, old.st_uid, old.st_gid);
    Check(chmod(path, old.st_mode & 07777));
    Check(std::rename(path, m_Path.c_str()));
}

void Store::Change(const std::function<void(Catalogue&)>& change) {
    RunNamed([&] {
        if (IsMissing(m_Path)) {
            m_Content.clear();
            change(m_Content);
            if (Create())
                return;
        }
        const ScopedStoreLock lock(m_Path);
        if (lock.Header() != m_Header)
            Read();
        change(m_Content);
        Replace();
    });
}

String TargetOf(const String& path) {
    std::error_code error;
    const auto target = std::filesystem::weakly_canonical(std::string(path), error);
    return error || path.empty() ? path : String(target.string());
}

const String& StoreOf(const CommandLine& line) { return *line.ValueOf("store"); }
