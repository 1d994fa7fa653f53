#include <vector>

#include "commands.h"
#include "dates.h"
#include "directory.h"
#include "messages.h"
#include "parallel.h"
#include "table.h"

namespace {

struct ListedFile {
    std::string path;
    Contents contents;
    String reason;  ///< Why it can't be read; empty if it was.
};

/// Reads the files that are in the tree. The result has the tree's order, whatever the threads'
/// order; those that can't be read go into the tree's failures.
std::vector<ListedFile> ReadFiles(Directory& directory, int threads) {
    Tree& tree = directory.tree;
    std::vector<ListedFile> files(tree.files.size());
    ParallelFor(files.size(), threads, [&](std::size_t index) {
        ListedFile& file = files[index];
        file.path = std::move(tree.files[index]);
        file.reason = ReadContents(directory.root, file.path, file.contents);
    });
    for (const ListedFile& file : files) {
        if (!file.reason.empty())
            tree.failures.push_back({file.path, file.reason});
    }
    std::erase_if(files, [](const ListedFile& file) { return !file.reason.empty(); });
    return files;
}

Row RowOf(const ListedFile& file) {
    return {Escaped(file.path), file.contents.status.size, ShownModification(file.contents.status),
            file.contents.digest};
}

void PrintTable(const std::vector<ListedFile>& files) {
    Table table;
    for (const ListedFile& file : files)
        table.Measure(RowOf(file));
    unsigned __int64 bytes = 0;
    for (const ListedFile& file : files) {
        PrintLine(table.Line(RowOf(file)));
        bytes += file.contents.status.size;
    }
    PrintLine(CountOf(files.size(), "file") + ", " + CountOf(bytes, "byte"));
}

}  // namespace

int List(const CommandLine& line) {
    const int threads = NumberOfThreads(line);
    const BqDateRange range = RangeOf(line);
    VYStatusLogAppend("looking for files");
    const String& path = line.words[0];
    Directory directory(path, line.words.size() > 1 ? line.words[1] : String("*"));
    KeepModifiedWithin(range, directory.root, directory.tree.files);
    VYStatusLogAppend("reading the files");
    const std::vector<ListedFile> files = ReadFiles(directory, threads);
    for (const Failure& failure : directory.tree.failures)
        PrintError(failure.path.empty() ? path : failure.path, failure.reason);
    VYStatusLogAppend("writing the table");
    PrintTable(files);
    return directory.tree.failures.empty() ? STATUS_DONE : STATUS_FAILED;
}
