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

class Walk {
public:
    Walk(const Descriptor& treeRoot, const String& namePattern)
        : m_Root(treeRoot), m_Pattern(namePattern) {}

    Tree Run() {
        while (!m_Pending.empty()) {
            StopIfInterrupted();
            const std::string path = std::move(m_Pending.back());
            m_Pending.pop_back();
            ReadDirectory(path);
        }
        std::sort(m_Tree.files.begin(), m_Tree.files.end());
        std::sort(m_Tree.failures.begin(), m_Tree.failures.end(),
                  [](const Failure& a, const Failure& b) { return a.path < b.path; });
        return std::move(m_Tree);
    }

private:
    void ReadDirectory(const std::string& path) {
        const DirectoryStream directory = OpenDirectory(m_Root, path);
        if (!directory)
            return AddFailure(path);
        for (errno = 0; const dirent* entry = readdir(directory.get()); errno = 0)
            TakeEntry(directory.get(), path, *entry);
        if (errno != 0)
            AddFailure(path);
    }

    void TakeEntry(DIR* directory, const std::string& path, const dirent& entry) {
        const String name(entry.d_name);
        if (name == "." || name == "..")
            return;
        const std::string below = (path.empty() ? "" : path + "/") + name;
        switch (TypeOf(directory, entry)) {
            case DT_DIR:
                m_Pending.push_back(below);
                break;
            case DT_REG:
                if (name.WildcardMatch(m_Pattern))
                    m_Tree.files.push_back(below);
                break;
            case DT_UNKNOWN:
                AddFailure(below);
                break;
        }
    }

    void AddFailure(const std::string& path) { m_Tree.failures.push_back({path, ReasonOf(errno)}); }

    const Descriptor& m_Root;
    const String& m_Pattern;
    std::vector<std::string> m_Pending{""};  ///< Directories that were not read yet.
    Tree m_Tree;
};

}  // namespace

Tree FindFiles(const Descriptor& root, const String& pattern) { return Walk(root, pattern).Run(); }
