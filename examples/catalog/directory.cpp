#include "directory.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <iostream>
#include <system_error>
#include <thread>

#include "messages.h"
#include "statuslogs.h"

namespace {

constexpr int MOST_THREADS = 256;

Descriptor OpenRoot(const std::string& path) {
    Descriptor root(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!root.IsOpen())
        throw std::system_error(errno, std::generic_category(), Escaped(path));
    return root;
}

}  // namespace

Directory::Directory(const std::string& path, Selection wanted)
    : root(OpenRoot(path)),
      base(AbsolutePathOf(path)),
      selection(std::move(wanted)),
      walked(Walk(root, selection)) {}

bool Directory::MayHave(const std::string& below) const {
    return !selection.Has(below) ||
           std::any_of(walked.failures.begin(), walked.failures.end(),
                       [&](const Failure& failure) { return IsWithin(below, failure.path); });
}

std::string AbsolutePathOf(const std::string& directory) {
    std::error_code error;
    const auto path = std::filesystem::canonical(directory, error);
    if (error)
        throw std::system_error(error.value(), std::generic_category(), Escaped(directory));
    return path.string();
}

std::string PlaceOf(const std::string& path) {
    namespace fs = std::filesystem;
    const fs::path whole = fs::absolute(path);
    const std::string name = whole.filename().string();
    const bool hasName = !name.empty() && name != "." && name != "..";
    const std::string place =
        (hasName ? fs::weakly_canonical(whole.parent_path()) / name : fs::weakly_canonical(whole))
            .string();
    return place.size() > 1 && place.back() == '/' ? place.substr(0, place.size() - 1) : place;
}

std::vector<std::string> OwnFilesIn(const std::string& base, const CommandLine& line) {
    std::vector<std::string> own = StatusLogs();
    if (const String* const store = line.ValueOf("store"))
        own.push_back(std::filesystem::weakly_canonical(std::string(*store)).string());
    std::erase_if(own, [&](const std::string& file) { return !IsWithin(file, base); });
    for (std::string& file : own)
        file = Below(file, base);
    return own;
}

std::vector<std::string> NamesFromInput(const CommandLine& line) {
    std::vector<std::string> names;
    for (std::string name; std::getline(std::cin, name, line.Has("null") ? '\0' : '\n');) {
        if (!name.empty())
            names.push_back(name);
    }
    return names;
}

int NumberOfThreads(const CommandLine& line) {
    const int cores = static_cast<int>(std::thread::hardware_concurrency());
    return line.NumberOf("threads", 1, MOST_THREADS, std::clamp(cores, 1, MOST_THREADS));
}
