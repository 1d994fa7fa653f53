#include "directory.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <system_error>
#include <thread>

#include "messages.h"

namespace {

constexpr int MOST_THREADS = 256;
constexpr const char* STATUS_LOGS[] = {"vy-current-status", "vy-last-stop-status"};

Descriptor OpenRoot(const String& path) {
    Descriptor root(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!root.IsOpen())
        throw std::system_error(errno, std::generic_category(), Escaped(path));
    return root;
}

std::string AbsolutePathOf(const String& path) {
    const std::unique_ptr<char, decltype(&std::free)> absolute(realpath(path.c_str(), nullptr),
                                                               std::free);
    if (!absolute)
        throw std::system_error(errno, std::generic_category(), Escaped(path));
    return absolute.get();
}

}  // namespace

Directory::Directory(const String& path, const String& pattern, const String& store)
    : root(OpenRoot(path)), base(AbsolutePathOf(path)), tree(FindFiles(root, pattern)) {
    std::set<std::string> own;
    for (const String& file : {String(STATUS_LOGS[0]), String(STATUS_LOGS[1]), store}) {
        struct stat status;
        if (!file.empty() && stat(file.c_str(), &status) == 0)
            own.insert(AbsolutePathOf(file));
    }
    std::erase_if(tree.files,
                  [&](const std::string& file) { return own.count(Absolute(file)) != 0; });
}

std::string Directory::Absolute(const std::string& below) const {
    return (base == "/" ? base : base + "/") + below;
}

bool Directory::Lacks(const std::string& absolute) const {
    if (!IsWithin(absolute, base))
        return false;
    const std::string below = absolute.substr(Absolute("").size());
    return !std::binary_search(tree.files.begin(), tree.files.end(), below) &&
           std::none_of(tree.failures.begin(), tree.failures.end(), [&](const Failure& failure) {
               return failure.path.empty() || IsWithin(below, failure.path);
           });
}

bool IsWithin(const std::string& path, const std::string& directory) {
    return path.compare(0, directory.size(), directory) == 0 &&
           (path.size() == directory.size() || directory == "/" || path[directory.size()] == '/');
}

int NumberOfThreads(const CommandLine& line) {
    const int cores = static_cast<int>(std::thread::hardware_concurrency());
    return line.NumberOf("threads", 1, MOST_THREADS, std::clamp(cores, 1, MOST_THREADS));
}

const String& StoreOf(const CommandLine& line) {
    const String* const store = line.ValueOf("store");
    if (store == nullptr || store->empty())
        throw UsageError("--store FILE is missing");
    return *store;
}
