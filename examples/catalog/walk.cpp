#include "walk.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>

#include "interrupt.h"
#include "messages.h"

namespace {

struct DirectoryCloser {
    void operator()(DIR* directory) const { closedir(directory); }
};
using DirectoryStream = std::unique_ptr<DIR, DirectoryCloser>;

DirectoryStream OpenDirectory(const Descriptor& root, const std::string& path) {
    Descriptor opened = OpenBelow(root, path, O_RDONLY | O_DIRECTORY);
    DirectoryStream directory(opened.IsOpen() ? fdopendir(opened.Number()) : nullptr);
    if (directory)
        opened.Release();
    return directory;
}

/// The entry's type as in `d_type`, which some file systems leave out; `DT_UNKNOWN` with `errno`
/// set if the system can't tell.
unsigned char TypeOf(DIR* directory, const dirent& entry) {
    struct stat status;
    if (entry.d_type != DT_UNKNOWN)
        return entry.d_type;
    if (fstatat(dirfd(directory), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return DT_UNKNOWN;
    return static_cast<unsigned char>(IFTODT(status.st_mode));
}

class Walker {
public:
    Walker(const Descriptor& treeRoot, const Selection& wanted)
        : m_Root(treeRoot), m_Selection(wanted) {}

    Walked Run() {
        for (const std::string& start : m_Selection.starts)
            TakeStart(start);
        while (!m_Pending.empty()) {
            StopIfInterrupted();
            const std::string path = std::move(m_Pending.back());
            m_Pending.pop_back();
            ReadDirectory(path);
        }
        const auto isBefore = [](const auto& a, const auto& b) { return a.path < b.path; };
        std::sort(m_Walked.found.begin(), m_Walked.found.end(), isBefore);
        // What lies within two starts was found twice.
        const auto isSame = [](const auto& a, const auto& b) { return a.path == b.path; };
        m_Walked.found.erase(std::unique(m_Walked.found.begin(), m_Walked.found.end(), isSame),
                             m_Walked.found.end());
        std::sort(m_Walked.failures.begin(), m_Walked.failures.end(), isBefore);
        return std::move(m_Walked);
    }

private:
    void TakeStart(const std::string& path) {
        struct stat status;
        const Descriptor start = OpenBelow(m_Root, path, O_PATH);
        if (start.IsOpen() && fstat(start.Number(), &status) == 0)
            Take(path, static_cast<unsigned char>(IFTODT(status.st_mode)));
        else if (errno != ENOENT && errno != ENOTDIR && errno != ELOOP)
            AddFailure(path);
    }

    void ReadDirectory(const std::string& path) {
        const DirectoryStream directory = OpenDirectory(m_Root, path);
        if (!directory)
            return AddFailure(path);
        const std::string prefix = path.empty() ? path : path + "/";
        for (errno = 0; const dirent* entry = readdir(directory.get()); errno = 0) {
            const std::string name = entry->d_name;
            if (name != "." && name != "..")
                Take(prefix + name, TypeOf(directory.get(), *entry));
        }
        if (errno != 0)
            AddFailure(path);
    }

    void Take(const std::string& path, unsigned char type) {
        if (m_Selection.exclusion.Matches(path) || IsOwn(path))
            return;
        if (type == DT_UNKNOWN)
            return AddFailure(path);
        m_Walked.found.push_back({path, type == DT_REG});
        if (type == DT_DIR && m_Selection.isRecursive)
            m_Pending.push_back(path);
    }

    bool IsOwn(const std::string& path) const {
        const auto& own = m_Selection.ownFiles;
        return std::any_of(own.begin(), own.end(), [&](const std::string& file) {
            return path.starts_with(file) &&
                   (path.size() == file.size() || path.compare(file.size(), 4, ".new") == 0);
        });
    }

    void AddFailure(const std::string& path) {
        m_Walked.failures.push_back({path, ReasonOf(errno)});
    }

    const Descriptor& m_Root;
    const Selection& m_Selection;
    std::vector<std::string> m_Pending;  ///< Directories that were not read yet.
    Walked m_Walked;
};

}  // namespace

bool Exclusion::Matches(const std::string& path) const {
    return std::any_of(m_Patterns.begin(), m_Patterns.end(), [&](const std::string& pattern) {
        const bool isPath = pattern.find('/') != std::string::npos;
        return String(isPath ? path : path.substr(path.rfind('/') + 1)).WildcardMatch(pattern);
    });
}

bool Exclusion::Covers(const std::string& path) const {
    if (m_Patterns.empty())
        return false;
    for (std::size_t slash = 0; (slash = path.find('/', slash)) != std::string::npos; ++slash) {
        if (Matches(path.substr(0, slash)))
            return true;
    }
    return Matches(path);
}

bool Selection::Has(const std::string& path) const {
    const bool isNamed = isRecursive
                             ? std::any_of(starts.begin(), starts.end(),
                                           [&](const auto& one) { return IsWithin(path, one); })
                             : std::binary_search(starts.begin(), starts.end(), path);
    return isNamed && !exclusion.Covers(path);
}

Walked Walk(const Descriptor& root, const Selection& selection) {
    return Walker(root, selection).Run();
}
