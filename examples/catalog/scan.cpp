#include <atomic>
#include <vector>

#include "commands.h"
#include "directory.h"
#include "messages.h"
#include "parallel.h"
#include "progress.h"
#include "store.h"

namespace {

class Scan {
public:
    Scan(const Directory& scanned, Store& target) : m_Directory(scanned), m_Store(target) {
        m_Common.scan = static_cast<unsigned __int64>(create_unique_id());
        m_Common.scanned = BqGMTime::getCurrentTime().getMilliSeconds();
    }

    /// Scans all files. What was scanned is stored also if an exception ends the run.
    void Run(int threads, bool quiet) {
        PutDirectory();
        m_Reasons.resize(m_Directory.tree.files.size());
        Progress progress(m_Reasons.size(), quiet);
        try {
            ParallelFor(m_Reasons.size(), threads, [&](std::size_t index) {
                m_Reasons[index] = TakeFile(m_Directory.tree.files[index]);
                progress.Step();
            });
            MarkMissing();
        } catch (...) {
            m_Store.Flush();
            throw;
        }
        m_Store.Flush();
    }

    /// Prints the totals unless `quiet`, and what could not be read. False if there was any.
    bool Report(bool quiet) const {
        for (const Failure& failure : m_Directory.tree.failures)
            PrintError(m_Directory.Absolute(failure.path), failure.reason);
        bool allRead = m_Directory.tree.failures.empty();
        for (std::size_t i = 0; i < m_Reasons.size(); ++i) {
            if (m_Reasons[i].empty())
                continue;
            PrintError(m_Directory.Absolute(m_Directory.tree.files[i]), m_Reasons[i]);
            allRead = false;
        }
        if (!quiet)
            PrintLine(CountOf(m_Added, "new file") + ", " + CountOf(m_Changed, "changed file") +
                      ", " + CountOf(m_Unchanged, "unchanged file") + ", " +
                      CountOf(m_Missing, "missing file"));
        return allRead;
    }

private:
    void PutDirectory() {
        Entry entry = m_Common;
        entry.kind = Entry::DIRECTORY;
        entry.path = m_Directory.base;
        m_Store.Put(entry);
    }

    /// Enters one file. A file with its old status is taken for unchanged and not read, so that a
    /// scan continues an interrupted one. Returns why the file can't be read; empty on success.
    String TakeFile(const std::string& name) {
        Entry entry = m_Common;
        entry.path = m_Directory.Absolute(name);
        Entry old;
        const bool isKnown = m_Store.Find(entry.path, old) && !old.isMissing;
        FileStatus status;
        if (isKnown && ReadFileStatus(m_Directory.root, name, status) &&
            status.size == old.status.size && status.modified == old.status.modified) {
            ++m_Unchanged;
            return String();
        }
        Contents contents;
        const String reason = ReadContents(m_Directory.root, name, contents);
        if (!reason.empty())
            return reason;
        entry.status = contents.status;
        entry.digest = contents.digest;
        m_Store.Put(entry);
        ++(isKnown ? m_Changed : m_Added);
        return String();
    }

    void MarkMissing() {
        std::vector<Entry> missing;
        m_Store.ForEach([&](const Entry& entry) {
            if (entry.kind == Entry::FILE && !entry.isMissing && m_Directory.Lacks(entry.path))
                missing.push_back(entry);
        });
        for (Entry& entry : missing) {
            entry.isMissing = true;
            m_Store.Put(entry);
        }
        m_Missing = static_cast<unsigned int>(missing.size());
    }

    const Directory& m_Directory;
    Store& m_Store;
    Entry m_Common;                 ///< What the entries of this scan have in common.
    std::vector<String> m_Reasons;  ///< For each file, why it can't be read.
    std::atomic<unsigned int> m_Added{0}, m_Changed{0}, m_Unchanged{0}, m_Missing{0};
};

}  // namespace

int ScanDirectory(const CommandLine& line) {
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
