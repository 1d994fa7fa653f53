#include <atomic>
#include <vector>

#include "commands.h"
#include "crew.h"
#include "directory.h"
#include "messages.h"
#include "progress.h"
#include "store.h"

namespace {

class Scan {
public:
    Scan(const Directory& scanned, Store& target) : directory(scanned), store(target) {
        mark.scan = static_cast<unsigned __int64>(create_unique_id());
        mark.scanned = BqGMTime::getCurrentTime().getMilliSeconds();
    }

    /// What was scanned is kept, also where an exception ends the run.
    void Run(int threads, bool quiet) {
        PutDirectory();
        reasons.resize(directory.tree.files.size());
        Progress progress(reasons.size(), quiet);
        try {
            ShareOut(reasons.size(), threads, [&](std::size_t index) {
                reasons[index] = TakeFile(directory.tree.files[index]);
                progress.Step();
            });
            MarkGone();
        } catch (...) {
            store.Flush();
            throw;
        }
        store.Flush();
    }

    /// False where there was something that could not be read.
    bool Report(bool quiet) const {
        for (const Failure& failure : directory.tree.failures)
            Complain(directory.Absolute(failure.path), failure.reason);
        bool allRead = directory.tree.failures.empty();
        for (std::size_t i = 0; i < reasons.size(); ++i) {
            if (reasons[i].empty())
                continue;
            Complain(directory.Absolute(directory.tree.files[i]), reasons[i]);
            allRead = false;
        }
        if (!quiet)
            PrintLine(Counted(added, "new file") + ", " + Counted(changed, "changed file") + ", " +
                      Counted(unchanged, "unchanged file") + ", " + Counted(gone, "missing file"));
        return allRead;
    }

private:
    void PutDirectory() {
        Entry entry = mark;
        entry.kind = Entry::DIRECTORY;
        entry.path = directory.base;
        store.Put(entry);
    }

    /// A file that looks as it did is taken to have the same contents, so that a scan goes on where
    /// the last one was interrupted. Returns why the file can't be read.
    String TakeFile(const std::string& name) {
        Entry entry = mark;
        entry.path = directory.Absolute(name);
        Entry old;
        const bool isKnown = store.Find(entry.path, old) && !old.isGone;
        Look look;
        if (isKnown && LookAt(directory.root, name, look) && look.size == old.look.size &&
            look.modified == old.look.modified) {
            ++unchanged;
            return String();
        }
        Contents contents;
        const String reason = ReadContents(directory.root, name, contents);
        if (!reason.empty())
            return reason;
        entry.look = contents.look;
        entry.digest = contents.digest;
        store.Put(entry);
        ++(isKnown ? changed : added);
        return String();
    }

    void MarkGone() {
        std::vector<Entry> missing;
        store.ForEach([&](const Entry& entry) {
            if (entry.kind == Entry::FILE && !entry.isGone && directory.Lacks(entry.path))
                missing.push_back(entry);
        });
        for (Entry& entry : missing) {
            entry.isGone = true;
            store.Put(entry);
        }
        gone = static_cast<unsigned int>(missing.size());
    }

    const Directory& directory;
    Store& store;
    Entry mark;                   ///< What all entries of this scan have.
    std::vector<String> reasons;  ///< Why a file can't be read, for each.
    std::atomic<unsigned int> added{0}, changed{0}, unchanged{0}, gone{0};
};

}  // namespace

ExitStatus ScanDirectory(const CommandLine& line) {
    const int threads = NumberOfThreads(line);
    const bool quiet = line.Has("quiet");
    VYStatusLogAppend("opening the store");
    Store store(StoreOf(line), Store::TO_CHANGE);
    VYStatusLogAppend("looking for files");
    const Directory directory(line.words[0], "*", StoreOf(line));
    VYStatusLogAppend("reading the files");
    Scan scan(directory, store);
    scan.Run(threads, quiet);
    return scan.Report(quiet) ? STATUS_DONE : STATUS_FAILED;
}
