#include "update.h"

#include <algorithm>
#include <set>

namespace {

constexpr unsigned int BETWEEN_STORES = 5000;  // Milliseconds.
constexpr unsigned int MOST_STORING = 20;      // At most a twentieth of the time.

/// The catalogue's own tree of that path, which is added if it is missing.
Tree& TreeIn(Catalogue& catalogue, const std::string& path) {
    auto place = catalogue.begin();
    while (place != catalogue.end() && place->path < path)
        ++place;
    if (place == catalogue.end() || place->path != path) {
        place = catalogue.insert(place, Tree());
        place->path = path;
    }
    return *place;
}

using Findings = std::vector<const Finding*>;

/// The paths that are gone.
std::set<std::string> RemovedBy(const Findings& findings) {
    std::set<std::string> removed;
    for (const Finding* const finding : findings) {
        if (finding->state == MISSING)
            removed.insert(finding->entry.path);
        else if (finding->state == MOVED)
            removed.insert(finding->from);
    }
    return removed;
}

/// Puts the findings, which are sorted, in place of what there was. What couldn't be read stays as
/// it was.
std::vector<Entry> Applied(const Findings& findings, std::vector<Entry> before) {
    const std::set<std::string> removed = RemovedBy(findings);
    std::vector<Entry> entries;
    entries.reserve(std::max(before.size(), findings.size()));
    auto old = before.begin();
    const auto keep = [&] {
        if (removed.count(old->path) == 0)
            entries.push_back(std::move(*old));
        ++old;
    };
    for (const Finding* const finding : findings) {
        if (finding->state == MISSING || finding->state == UNREADABLE)
            continue;
        while (old != before.end() && old->path < finding->entry.path)
            keep();
        if (old != before.end() && old->path == finding->entry.path)
            ++old;
        entries.push_back(finding->entry);
    }
    while (old != before.end())
        keep();
    return entries;
}

class Updater {
public:
    Updater(Store& target, const Tree& scanned) : m_Store(target), m_Tree(scanned) {}

    /// Stores from time to time what was found; each finding must stay where it is.
    void Take(const Finding& finding) {
        m_Taken.push_back(&finding);
        const unsigned int now = GetSystemTickCount();
        if (CalculateTicksDifference(now, m_LastStored) < m_Pause)
            return;
        StoreTaken();
        m_LastStored = GetSystemTickCount();
        m_Pause = std::max(m_Pause, MOST_STORING * CalculateTicksDifference(m_LastStored, now));
    }

    void StoreTaken() {
        Findings taken = std::exchange(m_Taken, {});
        std::sort(taken.begin(), taken.end(),
                  [](const Finding* a, const Finding* b) { return a->entry.path < b->entry.path; });
        if (!taken.empty())
            Put(taken, Exclusion());
    }

    void StoreAll(const std::vector<Finding>& findings, const Exclusion& exclusion) {
        Findings all;
        for (const Finding& finding : findings)
            all.push_back(&finding);
        Put(all, exclusion);
    }

private:
    /// Takes what is excluded out of the tree.
    void Put(const Findings& findings, const Exclusion& exclusion) {
        m_Store.Change([&](Catalogue& catalogue) {
            Tree& tree = TreeIn(catalogue, m_Tree.path);
            std::vector<Entry> entries = std::move(tree.entries);
            std::erase_if(entries,
                          [&](const Entry& entry) { return exclusion.Covers(entry.path); });
            tree = m_Tree;
            tree.entries = Applied(findings, std::move(entries));
        });
    }

    Store& m_Store;
    const Tree& m_Tree;
    Findings m_Taken;  ///< Those that are not in the store.
    unsigned int m_LastStored = GetSystemTickCount();
    unsigned int m_Pause = BETWEEN_STORES;
};

}  // namespace

Report Update(Store& store, const Directory& directory, const Tree& tree, Examination how) {
    const Tree* const known = FindTree(store.Content(), tree.path);
    const std::vector<Entry> before = known != nullptr ? known->entries : std::vector<Entry>();
    Tree header = tree;
    header.entries.clear();
    Updater updater(store, header);
    how.onFinding = [&](const Finding& finding) { updater.Take(finding); };
    std::vector<Finding> findings;
    try {
        Examine(directory, before, how, findings);
    } catch (...) {
        updater.StoreTaken();
        throw;
    }
    updater.StoreAll(findings, directory.selection.exclusion);
    Report report;
    report.Add(directory.base, findings, true);
    return report;
}
