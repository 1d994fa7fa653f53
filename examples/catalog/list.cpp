#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <thread>

#include "commands.h"
#include "crew.h"
#include "messages.h"
#include "table.h"
#include "walk.h"

namespace {

constexpr int MOST_THREADS = 256;

struct ListedFile {
    std::string path;
    Contents contents;
    String reason;  ///< Why there are no contents; empty where there are.
};

/// `directory` may be a symbolic link to one.
Descriptor OpenRoot(const String& directory) {
    Descriptor root(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!root.IsOpen())
        throw std::system_error(errno, std::generic_category(), Escaped(directory));
    return root;
}

/// In the order of the tree, whatever the order in which the threads come to an end with them.
std::vector<ListedFile> ReadFiles(const Descriptor& root, Tree& tree, int threads) {
    std::vector<ListedFile> files(tree.files.size());
    ShareOut(files.size(), threads, [&](std::size_t index) {
        ListedFile& file = files[index];
        file.path = std::move(tree.files[index]);
        file.reason = ReadContents(root, file.path, file.contents);
    });
    for (const ListedFile& file : files) {
        if (!file.reason.empty())
            tree.failures.push_back({file.path, file.reason});
    }
    std::erase_if(files, [](const ListedFile& file) { return !file.reason.empty(); });
    return files;
}

int NumberOfThreads(const CommandLine& line) {
    const int cores = static_cast<int>(std::thread::hardware_concurrency());
    return line.NumberOf("threads", 1, MOST_THREADS, std::clamp(cores, 1, MOST_THREADS));
}

Row RowOf(const ListedFile& file) {
    return {Escaped(file.path), file.contents.size, file.contents.digest};
}

void PrintTable(const std::vector<ListedFile>& files) {
    Table table;
    for (const ListedFile& file : files)
        table.Measure(RowOf(file));
    unsigned __int64 bytes = 0;
    for (const ListedFile& file : files) {
        PrintLine(table.Line(RowOf(file)));
        bytes += file.contents.size;
    }
    PrintLine(Counted(files.size(), "file") + ", " + Counted(bytes, "byte"));
}

}  // namespace

ExitStatus List(const CommandLine& line) {
    const String& directory = line.words[0];
    const int threads = NumberOfThreads(line);
    const Descriptor root = OpenRoot(directory);

    VYStatusLogAppend("looking for files");
    Tree tree = FindFiles(root, line.words.size() > 1 ? line.words[1] : String("*"));
    VYStatusLogAppend("reading the files");
    const std::vector<ListedFile> files = ReadFiles(root, tree, threads);
    for (const Failure& failure : tree.failures)
        Complain(failure.path.empty() ? directory : failure.path, failure.reason);
    VYStatusLogAppend("writing the table");
    PrintTable(files);
    return tree.failures.empty() ? STATUS_DONE : STATUS_FAILED;
}
