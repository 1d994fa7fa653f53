#include <fcntl.h>

#include <cerrno>
#include <system_error>

#include "commands.h"
#include "messages.h"
#include "table.h"
#include "walk.h"

namespace {

struct ListedFile {
    std::string path;
    Contents contents;
};

/// `directory` may be a symbolic link to one.
Descriptor OpenRoot(const String& directory) {
    Descriptor root(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!root.IsOpen())
        throw std::system_error(errno, std::generic_category(), Escaped(directory));
    return root;
}

std::vector<ListedFile> ReadFiles(const Descriptor& root, Tree& tree) {
    std::vector<ListedFile> files;
    for (std::string& path : tree.files) {
        Contents contents;
        const String reason = ReadContents(root, path, contents);
        if (reason.empty())
            files.push_back({std::move(path), std::move(contents)});
        else
            tree.failures.push_back({std::move(path), reason});
    }
    return files;
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

ExitStatus List(const Arguments& arguments) {
    const String& directory = arguments[0];
    const Descriptor root = OpenRoot(directory);

    VYStatusLogAppend("looking for files");
    Tree tree = FindFiles(root, arguments.size() > 1 ? arguments[1] : String("*"));
    VYStatusLogAppend("reading the files");
    const std::vector<ListedFile> files = ReadFiles(root, tree);
    for (const Failure& failure : tree.failures)
        Complain(failure.path.empty() ? directory : failure.path, failure.reason);
    VYStatusLogAppend("writing the table");
    PrintTable(files);
    return tree.failures.empty() ? STATUS_DONE : STATUS_FAILED;
}
