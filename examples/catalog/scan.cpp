#include <algorithm>
#include <map>
#include <stdexcept>

#include "commands.h"
#include "directory.h"
#include "messages.h"
#include "statuslogs.h"
#include "store.h"
#include "update.h"

namespace {

/// The tree of a scan: what was said at earlier scans holds until something else is said.
Tree TreeFor(const std::string& base, const Tree* known, const CommandLine& line) {
    Tree tree;
    if (known != nullptr) {
        tree.excluded = known->excluded;
        tree.hasSha256 = known->hasSha256;
    }
    tree.path = base;
    tree.scan = static_cast<unsigned __int64>(create_unique_id());
    tree.scanned = BqGMTime::getCurrentTime().getMilliSeconds();
    tree.hasSha256 = tree.hasSha256 || line.Has("sha256");
    if (line.Has("exclude")) {
        const Arguments patterns = line.ValuesOf("exclude");
        tree.excluded.assign(patterns.begin(), patterns.end());
        std::erase(tree.excluded, "");
    }
    return tree;
}

/// The listed paths, relative to `base`. Throws if one is outside.
std::vector<std::string> ListedIn(const std::string& base, const CommandLine& line) {
    std::vector<std::string> paths;
    for (const std::string& name : NamesFromInput(line)) {
        const std::string place = PlaceOf(name);
        if (!IsWithin(place, base))
            throw std::runtime_error(Escaped(name) + ": not in " + Escaped(base));
        paths.push_back(Below(place, base));
    }
    std::sort(paths.begin(), paths.end());
    paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
    return paths;
}

Examination ExaminationFor(const CommandLine& line, const Tree& tree) {
    Examination how;
    how.threads = NumberOfThreads(line);
    how.isFull = line.Has("full");
    how.hasSha256 = tree.hasSha256;
    how.isQuiet = line.Has("quiet");
    return how;
}

ExitStatus Finish(const Report& report) {
    report.PrintTotals();
    return report.Of(UNREADABLE) == 0 ? STATUS_DONE : STATUS_FAILED;
}

/// The innermost tree that has `place`; null if there is none.
const Tree* TreeAround(const Catalogue& catalogue, const std::string& place) {
    const Tree* innermost = nullptr;
    for (const Tree& tree : catalogue) {
        if (IsWithin(place, tree.path))
            innermost = &tree;
    }
    return innermost;
}

}  // namespace

int ScanDirectory(const CommandLine& line) {
    const bool isListed = line.words.size() > 1 || line.Has("null");
    if (line.words.size() > 1 && line.words[1] != "-")
        throw UsageError(Escaped(line.words[1]) + ": only - can stand here");
    const std::string base = AbsolutePathOf(line.words[0]);
    AppendStatus("reading the store");
    Store store(StoreOf(line), Store::TO_CHANGE);
    const Tree* const known = FindTree(store.Content(), base);
    Tree tree = TreeFor(base, known, line);
    tree.isListed = isListed && (known == nullptr || known->isListed);
    AppendStatus("looking for files");
    Selection selection;
    if (isListed)
        selection = {ListedIn(base, line), false, Exclusion(), {}};
    selection.exclusion = Exclusion(tree.excluded);
    selection.ownFiles = OwnFilesIn(base, line);
    const Directory directory(line.words[0], selection);
    AppendStatus("reading the files");
    return Finish(Update(store, directory, tree, ExaminationFor(line, tree)));
}

int Accept(const CommandLine& line) {
    Store store(StoreOf(line));
    std::map<std::string, Selection> selections;  // By the paths of their trees.
    for (const String& word : line.words) {
        const std::string place = PlaceOf(word);
        const Tree* const tree = TreeAround(store.Content(), place);
        if (tree == nullptr)
            throw std::runtime_error(Escaped(word) + ": not in the catalogue");
        Selection& selection =
            selections.insert({tree->path, {{}, true, Exclusion(tree->excluded), {}}})
                .first->second;
        selection.starts.push_back(Below(place, tree->path));
    }
    Report report;
    for (auto& [path, selection] : selections) {
        std::sort(selection.starts.begin(), selection.starts.end());
        selection.ownFiles = OwnFilesIn(path, line);
        const Tree tree = *FindTree(store.Content(), path);
        Examination how = ExaminationFor(line, tree);
        how.isFull = true;
        report.Merge(Update(store, Directory(path, selection), tree, how));
    }
    return Finish(report);
}

int Forget(const CommandLine& line) {
    Store store(StoreOf(line));
    const std::string place = PlaceOf(line.words[0]);
    unsigned __int64 forgotten = 0;
    const auto forget = [&](Catalogue& catalogue) {
        forgotten = 0;
        for (Tree& tree : catalogue)
            forgotten += std::erase_if(tree.entries, [&](const Entry& entry) {
                return IsWithin(Joined(tree.path, entry.path), place);
            });
        forgotten +=
            std::erase_if(catalogue, [&](const Tree& tree) { return IsWithin(tree.path, place); });
    };
    Catalogue copy = store.Content();
    forget(copy);
    if (forgotten == 0)
        throw std::runtime_error(Escaped(line.words[0]) + ": not in the catalogue");
    store.Change(forget);
    PrintLine(CountOf(forgotten, "path") + " forgotten");
    return STATUS_DONE;
}
