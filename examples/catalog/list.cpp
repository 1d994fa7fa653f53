#include <optional>
#include <vector>

#include "commands.h"
#include "dates.h"
#include "directory.h"
#include "listing.h"
#include "messages.h"
#include "parallel.h"
#include "statuslogs.h"

namespace {

struct ListedFile {
    std::string shownPath;
    Entry entry;
    String reason;  ///< Why it can't be read; empty if it was.
};

/// The files below the directory, and what of it can't be read.
std::vector<ListedFile> FilesIn(const Directory& directory, const CommandLine& line) {
    const auto isWanted = [&](const Found& found) {
        return found.isFile &&
               (line.words.size() < 2 ||
                String(found.path.substr(found.path.rfind('/') + 1)).WildcardMatch(line.words[1]));
    };
    std::vector<ListedFile> files;
    files.reserve(directory.walked.found.size());
    for (const Found& found : directory.walked.found) {
        if (!isWanted(found))
            continue;
        files.push_back({found.path, Entry(), String()});
        files.back().entry.path = found.path;
    }
    for (const Failure& failure : directory.walked.failures) {
        const std::string path = failure.path.empty() ? std::string(line.words[0]) : failure.path;
        PrintError(path, failure.reason);
    }
    return files;
}

std::vector<ListedFile> FilesFromInput(const CommandLine& line) {
    std::vector<ListedFile> files;
    for (const std::string& name : NamesFromInput(line)) {
        files.push_back({name, Entry(), String()});
        files.back().entry.path = Below(PlaceOf(name), "/");
    }
    return files;
}

/// Reads the files. The result has their order, whatever the threads' order. Those outside of the
/// dates are left out.
std::vector<ListedFile> ReadFiles(std::vector<ListedFile> files, const Descriptor& root,
                                  const CommandLine& line) {
    const DateRange dates(line);
    const bool hasDates = line.Has("since") || line.Has("until");
    ParallelFor(files.size(), NumberOfThreads(line), [&](std::size_t index) {
        ListedFile& file = files[index];
        if (hasDates && ReadStatus(root, file.entry).empty() &&
            !dates.Has(file.entry.status.modified))
            file.shownPath.clear();
        else
            file.reason = ReadContent(root, line.Has("sha256"), file.entry);
    });
    std::erase_if(files, [](const ListedFile& file) { return file.shownPath.empty(); });
    return files;
}

int Print(const std::vector<ListedFile>& files, const CommandLine& line) {
    bool allRead = true;
    Listing listing(line);
    for (const ListedFile& file : files) {
        if (file.reason.empty()) {
            listing.Add(file.shownPath, file.entry);
            continue;
        }
        PrintError(file.shownPath, file.reason);
        allRead = false;
    }
    listing.Print();
    return allRead ? STATUS_DONE : STATUS_FAILED;
}

}  // namespace

int List(const CommandLine& line) {
    NumberOfThreads(line);
    const TimeFormat checkedForm(line);
    const DateRange checkedDates(line);
    AppendStatus("looking for files");
    const bool isListed = line.words[0] == "-" || line.Has("null");
    std::optional<Directory> directory;
    Selection selection;
    if (isListed)
        selection = {{}, false, Exclusion(), {}};
    const Arguments excluded = line.ValuesOf("exclude");
    selection.exclusion = Exclusion({excluded.begin(), excluded.end()});
    const std::string path = isListed ? std::string("/") : std::string(line.words[0]);
    if (!isListed)
        selection.ownFiles = OwnFilesIn(AbsolutePathOf(path), line);
    directory.emplace(path, selection);
    std::vector<ListedFile> files = isListed ? FilesFromInput(line) : FilesIn(*directory, line);
    AppendStatus("reading the files");
    files = ReadFiles(std::move(files), directory->root, line);
    AppendStatus("writing the table");
    const int status = Print(files, line);
    return directory->walked.failures.empty() ? status : STATUS_FAILED;
}
