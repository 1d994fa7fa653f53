#include <algorithm>
#include <stdexcept>
#include <system_error>

#include "commands.h"
#include "directory.h"
#include "messages.h"
#include "report.h"
#include "statuslogs.h"
#include "store.h"

namespace {

/// A part of a tree to verify, and where it is now.
struct Task {
    const Tree* tree;
    std::string base;
    Selection selection;
};

Selection SelectionOf(const Tree& tree, const std::string& base, const CommandLine& line) {
    Selection selection;
    std::vector<std::string> patterns = tree.excluded;
    for (const String& pattern : line.ValuesOf("exclude"))
        patterns.push_back(pattern);
    selection.exclusion = Exclusion(patterns);
    selection.ownFiles = OwnFilesIn(base, line);
    if (tree.isListed) {
        selection.isRecursive = false;
        selection.starts.clear();
        for (const Entry& entry : tree.entries)
            selection.starts.push_back(entry.path);
    }
    return selection;
}

/// The parts of a tree that are within the places, or the whole tree if it is within one.
std::vector<std::string> PartsOf(const Tree& tree, const std::vector<std::string>& places) {
    std::vector<std::string> parts;
    for (const std::string& place : places) {
        if (IsWithin(place, tree.path))
            parts.push_back(Below(place, tree.path));
        else if (IsWithin(tree.path, place))
            parts.push_back(std::string());
    }
    std::sort(parts.begin(), parts.end());
    return parts;
}

/// Leaves of a selection what is within the parts.
void Narrow(Selection& selection, const std::vector<std::string>& parts) {
    if (selection.isRecursive) {
        selection.starts = parts;
        return;
    }
    std::erase_if(selection.starts, [&](const std::string& path) {
        return std::none_of(parts.begin(), parts.end(),
                            [&](const std::string& part) { return IsWithin(path, part); });
    });
}

/// Throws if one of the user's paths is nowhere.
std::vector<std::string> PlacesFor(const Catalogue& catalogue, const CommandLine& line) {
    std::vector<std::string> places;
    for (const String& word : line.words) {
        places.push_back(PlaceOf(word));
        if (std::all_of(catalogue.begin(), catalogue.end(),
                        [&](const Tree& tree) { return PartsOf(tree, {places.back()}).empty(); }))
            throw std::runtime_error(Escaped(word) + ": not in the catalogue");
    }
    return places;
}

std::vector<Task> TasksFor(const Catalogue& catalogue, const CommandLine& line) {
    const String* const root = line.ValueOf("root");
    const std::vector<std::string> places = PlacesFor(catalogue, line);
    std::vector<Task> tasks;
    for (const Tree& tree : catalogue) {
        const std::string base = root != nullptr ? std::string(*root) : tree.path;
        Task task{&tree, base, SelectionOf(tree, PlaceOf(base), line)};
        const std::vector<std::string> parts = PartsOf(tree, places);
        if (!line.words.empty())
            Narrow(task.selection, parts);
        if (line.words.empty() || !parts.empty())
            tasks.push_back(task);
    }
    if (root != nullptr && tasks.size() > 1)
        throw UsageError("--root: the catalogue has " + std::to_string(tasks.size()) +
                         " directories; name one of them");
    return tasks;
}

/// A tree that is gone is missing, but not one where the user says that it is.
void VerifyTree(const Task& task, const Examination& how, bool isElsewhere, Report& report) {
    try {
        const Directory directory(task.base, task.selection);
        AppendStatus("reading the files");
        std::vector<Finding> findings;
        Examine(directory, task.tree->entries, how, findings);
        report.Add(directory.base, findings, false);
    } catch (const std::system_error& error) {
        if (isElsewhere)
            throw;
        if (error.code() == std::errc::no_such_file_or_directory) {
            report.Add(task.base, AllMissing(task.tree->entries, task.selection), false);
        } else {
            Finding finding{UNREADABLE, Entry(), ReasonOf(error.code().value()), std::string()};
            report.Add(task.base, {finding}, false);
        }
    }
}

}  // namespace

int Verify(const CommandLine& line) {
    const Store store(StoreOf(line));
    Examination how;
    how.threads = NumberOfThreads(line);
    how.readsNew = false;
    how.contentOnly = line.Has("content");
    how.isQuiet = line.Has("quiet");
    Report report;
    for (const Task& task : TasksFor(store.Content(), line))
        VerifyTree(task, how, line.Has("root"), report);
    if (report.IsEmpty())
        throw std::runtime_error("nothing to verify");
    report.PrintTotals();
    return report.IsAllUnchanged() ? STATUS_DONE : STATUS_FAILED;
}
