/// Comparing what there is with what the catalogue has.
#ifndef CATALOG_EXAMINE_H
#define CATALOG_EXAMINE_H

#include <functional>
#include <string>
#include <vector>

#include "directory.h"
#include "entry.h"

/// What became of something since it was catalogued, in the order of the totals.
enum State { NEW, CHANGED, MOVED, MISSING, UNREADABLE, UNCHANGED };

struct Finding {
    State state = UNCHANGED;
    Entry entry;       ///< As it is now; as it was, if it is missing or unreadable.
    String text;       ///< Differences of a changed one, reason of an unreadable one.
    std::string from;  ///< The former path of a moved one.
};

/// How to look.
struct Examination {
    int threads = 1;
    bool isFull = true;        ///< Reads files also where size and time are the old ones.
    bool readsNew = true;      ///< Reads new files also where they can't have been moved.
    bool hasSha256 = false;    ///< Of all files; otherwise of those only that have had it.
    bool contentOnly = false;  ///< Rights and owners make no difference.
    bool isQuiet = false;      ///< No progress is shown.

    /// Called after each finding, which stays where it is; from any thread, but from one at a time.
    std::function<void(const Finding&)> onFinding{};
};

/// Compares what was found in a directory with the entries that the catalogue has of it. The
/// findings, which are empty before, are sorted by the bytes of the paths.
void Examine(const Directory& directory, const std::vector<Entry>& before, const Examination& how,
             std::vector<Finding>& findings);

/// What is left of `entries`, which were all lost with their directory.
std::vector<Finding> AllMissing(const std::vector<Entry>& entries, const Selection& selection);

#endif
