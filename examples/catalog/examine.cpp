#include "examine.h"

#include <algorithm>
#include <map>
#include <set>

#include "interrupt.h"
#include "parallel.h"
#include "progress.h"
#include "scopedlock.h"

namespace {

bool IsBefore(const Finding& one, const Finding& other) {
    return one.entry.path < other.entry.path;
}

class Examiner {
public:
    Examiner(const Directory& examined, const std::vector<Entry>& before, const Examination& wanted,
             std::vector<Finding>& findings)
        : m_Directory(examined), m_Before(before), m_How(wanted), m_Findings(findings) {
        FindMissing();
        m_Findings.resize(m_Directory.walked.found.size());
    }

    void Run() {
        Progress progress(m_Findings.size(), m_How.isQuiet);
        ParallelFor(m_Findings.size(), m_How.threads, [&](std::size_t index) {
            m_Findings[index] = Look(m_Directory.walked.found[index]);
            Tell(m_Findings[index]);
            progress.Step();
        });
        FindMoved();
        for (const Entry* const entry : m_Missing) {
            if (entry != nullptr)
                m_Findings.push_back({MISSING, *entry, String(), std::string()});
        }
        for (const Failure& failure : m_Directory.walked.failures)
            AddFailure(failure);
        if (!std::is_sorted(m_Findings.begin(), m_Findings.end(),
                            IsBefore))  // Most often they are.
            std::stable_sort(m_Findings.begin(), m_Findings.end(), IsBefore);
    }

private:
    void FindMissing() {
        auto found = m_Directory.walked.found.begin();
        const auto end = m_Directory.walked.found.end();
        for (const Entry& entry : m_Before) {
            while (found != end && found->path < entry.path)
                ++found;
            const bool isFound = found != end && found->path == entry.path;
            if (isFound || m_Directory.MayHave(entry.path))
                continue;
            m_Missing.push_back(&entry);
            if (entry.status.kind == FILE_KIND)
                m_MissingSizes.insert(entry.status.size);
        }
    }

    const Entry* EntryBefore(const std::string& path) const {
        const auto place = std::lower_bound(
            m_Before.begin(), m_Before.end(), path,
            [](const Entry& entry, const std::string& wanted) { return entry.path < wanted; });
        return place != m_Before.end() && place->path == path ? &*place : nullptr;
    }

    Finding Look(const Found& found) const {
        const Entry* const before = EntryBefore(found.path);
        Finding finding;
        Entry& now = finding.entry;
        now.path = found.path;
        finding.text = Read(found, before, now);
        if (!finding.text.empty()) {
            finding.state = UNREADABLE;
            now = before != nullptr ? *before : now;
        } else if (before == nullptr) {
            finding.state = NEW;
        } else {
            finding.text = Differences(*before, now, m_How.contentOnly);
            finding.state = finding.text.empty() ? UNCHANGED : CHANGED;
        }
        return finding;
    }

    /// Returns why it can't be read. What needn't be read for its digests isn't.
    String Read(const Found& found, const Entry* before, Entry& now) const {
        const bool hasSha256 = m_How.hasSha256 || (before != nullptr && before->digests.hasSha256);
        const bool mustRead = before != nullptr ? m_How.isFull : m_How.readsNew;
        if (found.isFile && mustRead)
            return ReadContent(m_Directory.root, hasSha256, now);
        const String reason = ReadStatus(m_Directory.root, now);
        if (!reason.empty() || now.status.kind != FILE_KIND)
            return reason;
        if (before != nullptr && !m_How.isFull && IsUnwritten(before->status, now.status) &&
            before->digests.hasSha256 == hasSha256) {
            now.digests = before->digests;
            return String();
        }
        const bool isNeeded = before != nullptr || m_MissingSizes.count(now.status.size) != 0;
        return isNeeded ? ReadContent(m_Directory.root, hasSha256, now) : String();
    }

    void Tell(const Finding& finding) {
        if (!m_How.onFinding)
            return;
        const ScopedLock lock(m_Mutex);
        m_How.onFinding(finding);
    }

    /// A new file with the content of a missing one is that one, moved. Empty files have no content
    /// to be known by.
    void FindMoved() {
        std::multimap<std::array<char, 16>, const Entry**> lost;
        for (const Entry*& entry : m_Missing) {
            if (entry->status.kind == FILE_KIND && entry->status.size > 0)
                lost.insert({entry->digests.md5, &entry});
        }
        for (Finding& finding : m_Findings) {
            const Entry& entry = finding.entry;
            const auto found = lost.find(entry.digests.md5);
            if (finding.state != NEW || entry.status.kind != FILE_KIND || found == lost.end() ||
                (*found->second)->status.size != entry.status.size ||
                !IsSameContent((*found->second)->digests, entry.digests))
                continue;
            finding.state = MOVED;
            finding.from = (*found->second)->path;
            *found->second = nullptr;
            lost.erase(found);
        }
    }

    /// A directory that can't be read was found all the same.
    void AddFailure(const Failure& failure) {
        const auto end =
            m_Findings.begin() + static_cast<std::ptrdiff_t>(m_Directory.walked.found.size());
        Finding finding{UNREADABLE, Entry(), failure.reason, std::string()};
        finding.entry.path = failure.path;
        const auto place = std::lower_bound(m_Findings.begin(), end, finding, IsBefore);
        if (place != end && place->entry.path == failure.path) {
            place->state = UNREADABLE;
            place->text = failure.reason;
        } else {
            m_Findings.push_back(finding);
        }
    }

    const Directory& m_Directory;
    const std::vector<Entry>& m_Before;
    const Examination& m_How;
    std::vector<const Entry*> m_Missing;  ///< Null for those that were found to be moved.
    std::set<unsigned __int64> m_MissingSizes;
    std::vector<Finding>& m_Findings;
    MutexLock m_Mutex{"CATALOG_FINDINGS"};
};

}  // namespace

void Examine(const Directory& directory, const std::vector<Entry>& before, const Examination& how,
             std::vector<Finding>& findings) {
    Examiner(directory, before, how, findings).Run();
}

std::vector<Finding> AllMissing(const std::vector<Entry>& entries, const Selection& selection) {
    std::vector<Finding> findings;
    for (const Entry& entry : entries) {
        if (selection.Has(entry.path))
            findings.push_back({MISSING, entry, String(), std::string()});
    }
    return findings;
}
