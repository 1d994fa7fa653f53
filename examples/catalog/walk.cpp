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

struct CloseDirectory {
    void operator()(DIR* directory) const { closedir(directory); }
};
using Directory = std::unique_ptr<DIR, CloseDirectory>;

Directory OpenDirectory(const Descriptor& root, const std::string& path) {
    Descriptor opened = OpenBelow(root, path, O_RDONLY | O_DIRECTORY);
    Directory directory(opened.IsOpen() ? fdopendir(opened.Number()) : nullptr);
    if (directory)
        opened.Release();
    return directory;
}

/// The entry's type as in `d_type`, which some file systems leave out; `DT_UNKNOWN` with `errno`
/// set where the system doesn't tell it.
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
        : root(treeRoot), pattern(namePattern) {}

    Tree Run() {
        while (!pending.empty()) {
            StopIfInterrupted();
            const std::string path = std::move(pending.back());
            pending.pop_back();
            LookInto(path);
        }
        std::sort(tree.files.begin(), tree.files.end());
        std::sort(tree.failures.begin(), tree.failures.end(),
                  [](const Failure& a, const Failure& b) { return a.path < b.path; });
        return std::move(tree);
    }

private:
    void LookInto(const std::string& path) {
        const Directory directory = OpenDirectory(root, path);
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
                pending.push_back(below);
                break;
            case DT_REG:
                if (name.WildcardMatch(pattern))
                    tree.files.push_back(below);
                break;
            case DT_UNKNOWN:
                AddFailure(below);
                break;
        }
    }

    void AddFailure(const std::string& path) { tree.failures.push_back({path, ReasonOf(errno)}); }

    const Descriptor& root;
    const String& pattern;
    std::vector<std::string> pending{""};
    Tree tree;
};

}  // namespace

Tree FindFiles(const Descriptor& root, const String& pattern) { return Walk(root, pattern).Run(); }
