/// Finding what is in a tree.
#ifndef CATALOG_WALK_H
#define CATALOG_WALK_H

#include <string>
#include <vector>

#include "files.h"

/// Patterns for what is left out, with all that is below it. One with a slash is matched with the
/// path relative to the tree's directory, any other with the own name.
class Exclusion {
public:
    Exclusion() = default;
    explicit Exclusion(std::vector<std::string> patterns) : m_Patterns(std::move(patterns)) {}

    /// Whether something is left out by itself, or because of what it lies in.
    bool Matches(const std::string& path) const;
    bool Covers(const std::string& path) const;

private:
    std::vector<std::string> m_Patterns;
};

/// What to look for below a directory. Paths are relative to it.
struct Selection {
    std::vector<std::string> starts{""};  ///< Sorted.
    bool isRecursive = true;              ///< All that is below the starts, too.
    Exclusion exclusion;
    std::vector<std::string> ownFiles;  ///< Left out, with files that begin with one and ".new".

    /// Whether `path` is looked for.
    bool Has(const std::string& path) const;
};

/// A path that exists.
struct Found {
    std::string path;
    bool isFile;  ///< A regular file.
};

/// A path that can't be read, and why.
struct Failure {
    std::string path;
    String reason;
};

/// What was found, both parts sorted by the bytes of their paths.
struct Walked {
    std::vector<Found> found;
    std::vector<Failure> failures;
};

/// Looks below `root` for what is selected. A start that doesn't exist, or is behind a link now, is
/// no failure. Throws `Interrupted` after an interrupt.
Walked Walk(const Descriptor& root, const Selection& selection);

#endif
