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

class Updater {
public:
    Updater(Store& target, const Tree& scanned) : m_Store(target), m_Tree(scanned) {}

    void Take(const Finding& finding) {
        m_Findings.push_back(finding);
        const unsigned int now = GetSystemTickCount();
        if (CalculateTicksDifference(now, m_LastStored) < m_Pause)
            return;
        Enter(std::exchange(m_Findings, {}), Exclusion());
        m_LastStored = GetSystemTickCount();
        m_Pause = std::max(m_Pause, MOST_STORING * CalculateTicksDifference(m_LastStored, now));
    }

    void EnterTaken() {
        if (!m_Findings.empty())
            Enter(std::exchange(m_Findings, {}), Exclusion());
    }

    void Enter(std::vector<Finding> findings, const Exclusion& exclusion) {
        std::stable_sort(findings.begin(), findings.end(), [](const Finding& a, const Finding& b) {
            return a.entry.path < b.entry.path;
        });
        m_Store.Change([&](Catalogue& catalogue) {
            Tree& tree = TreeIn(catalogue, m_Tree.path);
            std::vector<Entry> entries = std::move(tree.entries);
            std::erase_if(entries,
                          [&](const Entry& entry) { return exclusion.Covers(entry.path); });
            Apply(findings, entries);
            tree = m_Tree;
            tree.entries = std::move(entries);
        });
    }

private:
    Store& m_Store;
    const Tree& m_Tree;
    std::vector<Finding> m_Findings;  ///< Those that are not in the store.
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
    Report report;
    try {
        const std::vector<Finding> findings = Examine(directory, before, how);
        updater.Enter(findings, directory.selection.exclusion);
        report.Add(directory.base, findings, true);
    } catch (...) {
        updater.EnterTaken();
        throw;
    }
    return report;
}

void Apply(const std::vector<Finding>& findings, std::vector<Entry>& entries) {
    std::set<std::string> removed;
    for (const Finding& finding : findings) {
        if (finding.state == MISSING)
            removed.insert(finding.entry.path);
        else if (finding.state == MOVED)
            removed.insert(finding.from);
    }
    std::vector<Entry> merged;
    merged.reserve(std::max(entries.size(), findings.size()));
    auto old = entries.begin();
    const auto keepUntil = [&](const std::string* path) {
        for (; old != entries.end() && (path == nullptr || old->path < *path); ++old) {
            if (removed.count(old->path) == 0)
                merged.push_back(std::move(*old));
        }
    };
    for (const Finding& finding : findings) {
        if (finding.state == MISSING || finding.state == UNREADABLE)
            continue;
        keepUntil(&finding.entry.path);
        if (old != entries.end() && old->path == finding.entry.path)
            ++old;
        merged.push_back(finding.entry);
    }
    keepUntil(nullptr);
    entries = std::move(merged);
}
