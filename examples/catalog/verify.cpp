#include <iterator>
#include <map>
#include <system_error>
#include <vector>

#include "commands.h"
#include "directory.h"
#include "messages.h"
#include "parallel.h"
#include "progress.h"
#include "store.h"

namespace {

/// What became of a file since it was scanned, in the order of the totals.
enum State { NEW, CHANGED, MISSING, UNREADABLE, UNCHANGED };
constexpr const char* STATE_NAMES[] = {"new", "changed", "missing", "unreadable", "unchanged"};

struct Finding {
    State state;
    String reason;
};

/// By the files' absolute paths.
using Findings = std::map<std::string, Finding>;

Finding Compare(Store& store, const Directory& directory, const std::string& name) {
    Entry entry;
    if (!store.Find(directory.Absolute(name), entry) || entry.isMissing)
        return {NEW, String()};
    Contents contents;
    const String reason = ReadContents(directory.root, name, contents);
    if (!reason.empty())
        return {UNREADABLE, reason};
    const bool isSame =
        contents.status.size == entry.status.size && contents.digest == entry.digest;
    return {isSame ? UNCHANGED : CHANGED, String()};
}

void VerifyFiles(Store& store, const Directory& directory, int threads, bool quiet,
                 Findings& findings) {
    const std::vector<std::string>& files = directory.tree.files;
    std::vector<Finding> found(files.size());
    Progress progress(files.size(), quiet);
    ParallelFor(files.size(), threads, [&](std::size_t index) {
        found[index] = Compare(store, directory, files[index]);
        progress.Step();
    });
    for (std::size_t i = 0; i < files.size(); ++i)
        findings[directory.Absolute(files[i])] = found[i];
    for (const Failure& failure : directory.tree.failures)
        findings[directory.Absolute(failure.path)] = {UNREADABLE, failure.reason};
}

std::vector<std::string> ScannedDirectories(Store& store) {
    std::vector<std::string> paths;
    store.ForEach([&](const Entry& entry) {
        if (entry.kind == Entry::DIRECTORY)
            paths.push_back(entry.path);
    });
    return paths;
}

/// Adds the store's files within `path` that were not found. `directory` is null if all of it is
/// missing.
void AddMissing(Store& store, const std::string& path, const Directory* directory,
                Findings& findings) {
    store.ForEach([&](const Entry& entry) {
        if (entry.kind == Entry::FILE && !entry.isMissing && IsWithin(entry.path, path) &&
            (directory == nullptr || directory->Lacks(entry.path)))
            findings.insert({entry.path, {MISSING, String()}});
    });
}

Findings VerifyAll(Store& store, const CommandLine& line) {
    const int threads = NumberOfThreads(line);
    Findings findings;
    for (const std::string& path : ScannedDirectories(store)) {
        try {
            const Directory directory(path, "*", StoreOf(line));
            VerifyFiles(store, directory, threads, line.Has("quiet"), findings);
            AddMissing(store, path, &directory, findings);
        } catch (const std::system_error& error) {
            if (error.code() != std::errc::no_such_file_or_directory)
                findings[path] = {UNREADABLE, ReasonOf(error.code().value())};
            else
                AddMissing(store, path, nullptr, findings);
        }
    }
    return findings;
}

}  // namespace

int Verify(const CommandLine& line) {
    Store store(StoreOf(line), Store::TO_READ);
    const Findings findings = VerifyAll(store, line);
    unsigned int counts[std::size(STATE_NAMES)] = {};
    for (const auto& [path, finding] : findings) {
        ++counts[finding.state];
        if (finding.state == UNREADABLE)
            PrintError(path, finding.reason);
        else if (finding.state != UNCHANGED)
            PrintLine(String(STATE_NAMES[finding.state]) + " " + Escaped(path));
    }
    String totals;
    for (std::size_t state = 0; state < std::size(counts); ++state)
        totals += (state > 0 ? ", " : "") + MultiType(counts[state]).GetAs<String>() + " " +
                  STATE_NAMES[state];
    if (!line.Has("quiet"))
        PrintLine(totals);
    return counts[UNCHANGED] == findings.size() ? STATUS_DONE : STATUS_FAILED;
}
